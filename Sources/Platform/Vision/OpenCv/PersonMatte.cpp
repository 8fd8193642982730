#include "Platform/Vision/OpenCv/PersonMatte.hpp"

#include "Platform/Vision/OpenCv/FrameChange.hpp"
#include "Platform/Vision/OpenCv/GuidedMatte.hpp"
#include "Platform/Vision/OpenCv/PersonPieces.hpp"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// The network is in doubt in a wide band; this part of it becomes the border.
constexpr float doubtFrom = 0.25F, doubtTo = 0.7F;
/// How far, in its pixels, the soft border reaches to either side of the hard one: fully, and at all.
constexpr float softReach = 1, softEnd = 4;

/// Lets `now` follow `held`: at once where the picture has changed, else the slower the smaller the step is,
/// but by `least` of it.
void hold(cv::Mat1f& now, const cv::Mat1f& held, const cv::Mat1b& changed, float least) {
    for (int y = 0; y < now.rows; ++y) {
        float* p = now[y];
        const float* h = held[y];
        const uchar* n = changed[y];
        for (int x = 0; x < now.cols; ++x) {
            const float step = p[x] - h[x];
            const float rate =
                std::max(std::max(least, static_cast<float>(n[x]) * (1.0F / 255)), std::abs(step));
            p[x] = h[x] + std::min(1.0F, rate) * step;
        }
    }
}

/// Limits `soft` to what a border of the width `end` around `solid` may be; 1 and 0 beyond it.
void keepToBorder(cv::Mat1f& soft, const cv::Mat1b& solid, float reach, float end) {
    cv::Mat1f inside, outside;
    cv::distanceTransform(solid, inside, cv::DIST_L2, 3);
    cv::distanceTransform(solid == 0, outside, cv::DIST_L2, 3);
    for (int y = 0; y < soft.rows; ++y) {
        float* s = soft[y];
        const float *in = inside[y], *out = outside[y];
        for (int x = 0; x < soft.cols; ++x) {
            if (out[x] > 0)
                s[x] = std::min(s[x], std::clamp((end - out[x]) / (end - reach), 0.0F, 1.0F));
            else
                s[x] = std::max(s[x], std::clamp((in[x] - reach) / (end - reach), 0.0F, 1.0F));
        }
    }
}

/// A picture more than twice as large as the answer shows finer edges, and more of the camera's noise.
cv::Mat1f drawAlongEdges(const cv::Mat1f& person, const cv::Mat3b& view, const cv::Mat3b& fine) {
    cv::Mat1b coarse;
    person.convertTo(coarse, CV_8U, 255);
    cv::Mat3f colors;
    view.convertTo(colors, CV_32F);
    const bool large = fine.cols > 2 * view.cols;
    return guidedMatte(coarse, colors, fine, large ? 3 : 4, large ? 2e-4F : 1e-4F);
}

}  // namespace

cv::Mat1b PersonMatte::refine(const cv::Mat1f& probability, const cv::Mat3b& view, const cv::Mat1b& changed,
                              const cv::Mat3b& fine) {
    cv::Mat1f person = probability.clone();
    if (heldPerson_.size() == person.size() && !changed.empty()) hold(person, heldPerson_, changed, 0.3F);
    heldPerson_ = person.clone();

    const PersonPieces pieces = findPerson(person);
    solid_ = pieces.solid;
    if (!presence_.judge(pieces, view, changed)) {
        heldFine_.release();
        return presence_.wasSeen() ? cv::Mat1b(fine.size(), uchar(0)) : cv::Mat1b();
    }
    person = (person - doubtFrom) / (doubtTo - doubtFrom);
    keepToBorder(person, pieces.solid, softReach, softEnd);

    cv::Mat1f matte = drawAlongEdges(person, view, fine);
    if (heldFine_.size() == fine.size()) hold(matte, heldMatte_, changeBetween(heldFine_, fine), 0.15F);
    // What is held where somebody no longer is would trail behind them.
    cv::Mat1b near, nearFine;
    cv::dilate(pieces.solid, near, cv::Mat(), {-1, -1}, static_cast<int>(softEnd) + 1);
    cv::resize(near, nearFine, fine.size(), 0, 0, cv::INTER_NEAREST);
    matte.setTo(0, nearFine == 0);
    heldMatte_ = matte;
    heldFine_ = fine;
    cv::Mat1b mask;
    matte.convertTo(mask, CV_8U, 255);
    return mask;
}

}  // namespace platform

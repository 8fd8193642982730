#include "Platform/Vision/OpenCv/PersonMatte.hpp"

#include "Platform/Vision/OpenCv/FrameChange.hpp"
#include "Platform/Vision/OpenCv/GuidedMatte.hpp"
#include "Platform/Vision/OpenCv/PersonPieces.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// The network is in doubt in a wide band; this part of it becomes the border.
constexpr float doubtFrom = 0.25F, doubtTo = 0.7F;
/// How far, in its pixels, the soft border reaches to either side of the hard one: fully, and at all.
constexpr float softReach = 1, softEnd = 4;
/// Nothing is shown farther away from the hard border than this.
constexpr int farthest = static_cast<int>(softEnd) + 1;
/// Of the guided matte: the largest radius, in the network's pixels.
constexpr int widestWindow = 4;

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
    const bool large = fine.cols > 2 * view.cols;
    return guidedMatte(coarse, view, fine, large ? 3 : widestWindow, large ? 2e-4F : 1e-4F);
}

/// A part of a picture, and the same part of a finer one.
struct Part {
    cv::Rect coarse, fine;
};

/// The first range around `low` … `high` whose ends are whole pixels at the finer size as well.
void alignRange(int& low, int& high, int all, int allFine) {
    const int step = all / std::gcd(all, allFine);
    low = std::max(0, low) / step * step;
    high = std::min(all, (high + step - 1) / step * step);
}

/// All that a border around `solid` may reach and is drawn from.
Part partAround(const cv::Mat1b& solid, cv::Size fine) {
    constexpr int margin = farthest + 2 * widestWindow + 1;
    const cv::Rect box = cv::boundingRect(solid);
    int left = box.x - margin, right = box.br().x + margin, top = box.y - margin,
        bottom = box.br().y + margin;
    alignRange(left, right, solid.cols, fine.width);
    alignRange(top, bottom, solid.rows, fine.height);
    const auto across = [&](int x) { return static_cast<int>(std::int64_t{x} * fine.width / solid.cols); };
    const auto down = [&](int y) { return static_cast<int>(std::int64_t{y} * fine.height / solid.rows); };
    return {{cv::Point(left, top), cv::Point(right, bottom)},
            {cv::Point(across(left), down(top)), cv::Point(across(right), down(bottom))}};
}

}  // namespace

cv::Mat1b PersonMatte::refine(const PersonLooks::Answer& answer, const cv::Mat3b& view,
                              const cv::Mat1b& changed, const cv::Mat3b& fine) {
    cv::Mat1f person = answer.person.clone();
    if (heldPerson_.size() == person.size() && !changed.empty()) hold(person, heldPerson_, changed, 0.3F);
    heldPerson_ = person.clone();

    PersonPieces pieces = findPerson(person);
    if (answer.cautious.data != answer.person.data)
        pieces.confidence = findPerson(answer.cautious).confidence;
    solid_ = pieces.solid;
    if (!presence_.judge(pieces, view, changed)) {
        heldFine_.release();
        return presence_.wasSeen() ? cv::Mat1b(fine.size(), uchar(0)) : cv::Mat1b();
    }
    person = (person - doubtFrom) / (doubtTo - doubtFrom);
    keepToBorder(person, pieces.solid, softReach, softEnd);

    // Beside the person everything is black, and takes no time.
    const Part part = partAround(pieces.solid, fine.size());
    cv::Mat1f matte(fine.size(), 0.0F), drawn = matte(part.fine);
    drawAlongEdges(person(part.coarse), view(part.coarse), fine(part.fine)).copyTo(drawn);
    // What is held where somebody no longer is would trail behind them.
    cv::Mat1b far, farFine;
    cv::dilate(pieces.solid(part.coarse), far, cv::Mat(), {-1, -1}, farthest);
    far = far == 0;
    cv::resize(far, farFine, part.fine.size(), 0, 0, cv::INTER_NEAREST);
    if (heldFine_.size() == fine.size())
        hold(drawn, heldMatte_(part.fine), changeBetween(heldFine_(part.fine), fine(part.fine)), 0.15F);
    drawn.setTo(0, farFine);
    heldMatte_ = matte;
    heldFine_ = fine;
    cv::Mat1b mask;
    matte.convertTo(mask, CV_8U, 255);
    return mask;
}

}  // namespace platform

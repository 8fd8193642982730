#include "Scores.hpp"

#include <opencv2/imgproc.hpp>

namespace cobaltreel::benchmarks {
namespace {

/// Everything is compared at half of a 1280 × 720 frame; one step is two of its pixels.
const cv::Size compared(640, 360);
constexpr double pixelsPerStep = 2;
/// Less of a person than this part of the frame (somebody leaving) is not judged.
constexpr double minShare = 0.02;
constexpr double firstSecond = 1;

cv::Mat1b rimOf(const cv::Mat1b& solid) {
    cv::Mat1b inner, rim;
    cv::erode(solid, inner, cv::Mat(), {-1, -1}, 1, cv::BORDER_REPLICATE);
    cv::subtract(solid, inner, rim);
    return rim;
}

/// Mean distance, in pixels of the frame, of one rim's pixels from the other rim.
double rimDistance(const cv::Mat1b& rim, const cv::Mat1b& other) {
    const cv::Mat1b elsewhere = other == 0;
    cv::Mat1f distance;
    cv::distanceTransform(elsewhere, distance, cv::DIST_L2, 5);
    return cv::mean(distance, rim)[0] * pixelsPerStep;
}

}  // namespace

void Scores::beginTake() { previous_.release(); }

std::optional<double> Scores::add(const cv::Mat1b& mask, const cv::Mat1b& truth, double seconds, bool still) {
    cv::Mat1b exact, found(compared, uchar(0));
    cv::resize(truth, exact, compared, 0, 0, cv::INTER_AREA);
    if (!mask.empty()) cv::resize(mask, found, compared, 0, 0, cv::INTER_LINEAR);
    if (still && !previous_.empty() && !mask.empty()) {
        sumFlicker_ += cv::norm(previous_, found, cv::NORM_L1) / cv::sum(found)[0];
        ++flickerFrames_;
    }
    previous_ = mask.empty() ? cv::Mat1b() : found;

    const cv::Mat1b a = found > 127, b = exact > 127;
    const int truthArea = cv::countNonZero(b);
    if (truthArea == 0) {
        addEmpty(cv::countNonZero(a) > 0);
        return std::nullopt;
    }
    if (truthArea < minShare * compared.area()) return std::nullopt;
    const double iou = static_cast<double>(cv::countNonZero(a & b)) / cv::countNonZero(a | b);
    sumIoU_ += iou;
    ++frames_;
    if (seconds >= firstSecond) {
        worst_ = std::min(worst_, iou);
        if (iou < 0.7) ++low_;
    }
    if (!mask.empty() && cv::countNonZero(a) > 0) {
        const cv::Mat1b rimA = rimOf(a), rimB = rimOf(b);
        sumBorder_ += (rimDistance(rimA, rimB) + rimDistance(rimB, rimA)) / 2;
        ++borderFrames_;
    }
    return iou;
}

void Scores::addTime(double cpuMs, double wallMs) {
    sumCpu_ += cpuMs;
    sumWall_ += wallMs;
    slowestCpu_ = std::max(slowestCpu_, cpuMs);
    ++timedFrames_;
}

void Scores::addEmpty(bool personFound) {
    ++emptyFrames_;
    if (personFound) ++emptyFound_;
}

}  // namespace cobaltreel::benchmarks

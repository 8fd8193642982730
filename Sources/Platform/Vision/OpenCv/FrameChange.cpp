#include "Platform/Vision/OpenCv/FrameChange.hpp"

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// Differences of color, of 255: up to the first it is noise, from the second on something moved.
constexpr double noise = 5, motion = 16;

}  // namespace

cv::Mat1b changeBetween(const cv::Mat3b& before, const cv::Mat3b& now) {
    if (before.size() != now.size()) return {};
    cv::Mat3b difference;
    cv::absdiff(before, now, difference);
    cv::Mat colors[3], most;
    cv::split(difference, colors);
    cv::max(colors[0], colors[1], most);
    cv::max(most, colors[2], most);
    cv::blur(most, most, {3, 3}, {-1, -1}, cv::BORDER_REPLICATE);
    most.convertTo(most, CV_8U, 255.0 / (motion - noise), -255.0 * noise / (motion - noise));
    return most;
}

}  // namespace platform

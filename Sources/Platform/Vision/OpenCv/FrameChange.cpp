#include "Platform/Vision/OpenCv/FrameChange.hpp"

#include <algorithm>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// Differences of color, of 255: up to the first it is noise, from the second on something moved.
constexpr double noise = 5, motion = 16;

}  // namespace

cv::Mat1b changeBetween(const cv::Mat3b& before, const cv::Mat3b& now) {
    if (before.size() != now.size()) return {};
    cv::Mat1b most(now.size());
    for (int y = 0; y < now.rows; ++y) {
        const uchar *b = before.ptr(y), *n = now.ptr(y);
        uchar* m = most[y];
        for (int x = 0; x < now.cols; ++x, b += 3, n += 3)
            m[x] = static_cast<uchar>(
                std::max(std::max(std::abs(b[0] - n[0]), std::abs(b[1] - n[1])), std::abs(b[2] - n[2])));
    }
    cv::blur(most, most, {3, 3}, {-1, -1}, cv::BORDER_REPLICATE);
    most.convertTo(most, CV_8U, 255.0 / (motion - noise), -255.0 * noise / (motion - noise));
    return most;
}

}  // namespace platform

#pragma once

#include <opencv2/core.hpp>

namespace platform {

/// How much each pixel of `now` has changed since `before`, a picture of the same size: 0 up to the camera's
/// noise, 255 where something moved. Empty when there was no picture of that size.
cv::Mat1b changeBetween(const cv::Mat3b& before, const cv::Mat3b& now);

}  // namespace platform

#pragma once

#include <opencv2/core.hpp>

namespace platform {

/// Carries a coarse mask to a finer picture so that its soft border follows the picture's edges
/// (a guided filter: near each pixel the mask is a linear function of the colors).
/// `coarse` is the picture at the mask's size, `fine` the same picture at the wanted size; both
/// 0…255. `radius` is in coarse pixels. Result 0…1 at the size of `fine`.
cv::Mat1f guidedMatte(const cv::Mat1b& mask, const cv::Mat3b& coarse, const cv::Mat3b& fine, int radius,
                      float epsilon);

}  // namespace platform

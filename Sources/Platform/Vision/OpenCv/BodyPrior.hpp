#pragma once

#include "Platform/Vision/OpenCv/HeadTracker.hpp"

#include <opencv2/core.hpp>

namespace platform {

/// Where a body can be when its head is known: drawn from the measures of grown people in front of a
/// camera (shoulders about three heads wide), wide enough for hair, chairs leant in and coats.
struct BodyPrior {
    cv::Mat1f odds;   ///< log odds of person, from surely not (negative) to surely (positive)
    cv::Mat1b core;   ///< non-zero where there is no doubt: face, neck, chest
    cv::Mat1b reach;  ///< non-zero wherever head, trunk or arms may be

    BodyPrior(const Head& head, cv::Size size);
};

}  // namespace platform

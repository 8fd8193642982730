#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <opencv2/core.hpp>

namespace cobaltreel::benchmarks {

struct Cut {
    cv::Mat1b mask;  ///< empty when nobody was found
    double cpuMs, wallMs;
};

/// One frame through a request, with its time.
Cut cut(platform::PersonSegmentationRequest& request, const platform::PixelBuffer& frame);

}  // namespace cobaltreel::benchmarks

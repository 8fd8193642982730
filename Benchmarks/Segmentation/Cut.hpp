#pragma once

#include "Platform/Vision/PersonSegmentation.hpp"

#include <filesystem>

#include <opencv2/core.hpp>

namespace cobaltreel::benchmarks {

struct Cut {
    cv::Mat1b mask;  ///< empty when nobody was found
    double cpuMs, wallMs;
};

/// One frame through a request, with its time.
Cut cut(platform::PersonSegmentationRequest& request, const platform::PixelBuffer& frame);

/// These throw std::runtime_error that names the file.
cv::Mat3b readPictureFile(const std::filesystem::path& file);
cv::Mat1b readMaskFile(const std::filesystem::path& file);
void writePictureFile(const std::filesystem::path& file, const cv::Mat3b& picture);

}  // namespace cobaltreel::benchmarks

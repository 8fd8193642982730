#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <opencv2/core.hpp>

namespace platform {

/// The size with about `area` pixels and the aspect of `frame`; neither side above the frame's own.
cv::Size workingSize(cv::Size frame, double area);

/// A bgra or i420 buffer as blue, green, red at `size`, averaged down. Throws PlatformError("Vision", 1)
/// for a format that is no colour picture.
cv::Mat3b readPicture(const PixelBuffer& frame, cv::Size size);

/// What a network sees of a dark picture: its middle tones lifted to those of a well-lit room. Other pictures
/// stay as they are.
cv::Mat3b brightened(const cv::Mat3b& picture);

}  // namespace platform

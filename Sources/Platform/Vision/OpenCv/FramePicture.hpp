#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <opencv2/core.hpp>

namespace platform {

/// The size with about `area` pixels and the aspect of `frame`; neither side above the frame's own.
cv::Size workingSize(cv::Size frame, double area);

/// A bgra or i420 buffer as blue, green, red at `size`, averaged down. Throws PlatformError("Vision", 1)
/// for a format that is no color picture.
cv::Mat3b readPicture(const PixelBuffer& frame, cv::Size size);

/// `picture` at `size`, averaged down.
cv::Mat3b resized(const cv::Mat3b& picture, cv::Size size);

/// The curve that lifts the middle tones of a dark picture to those of a well-lit room; empty for other
/// pictures.
cv::Mat1b liftFor(const cv::Mat3b& picture);
/// `picture`, or a part of it, along such a curve.
cv::Mat3b lifted(const cv::Mat3b& picture, const cv::Mat1b& curve);

}  // namespace platform

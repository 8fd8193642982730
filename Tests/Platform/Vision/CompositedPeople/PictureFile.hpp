#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <filesystem>
#include <optional>

#include <opencv2/core.hpp>

namespace cobaltreel::composited {

/// These throw std::runtime_error that names the file.
cv::Mat3b readPictureFile(const std::filesystem::path& file);
cv::Mat1b readMaskFile(const std::filesystem::path& file);
void writePictureFile(const std::filesystem::path& file, const cv::Mat3b& picture);

/// The mask of the person in a picture: NAME.mask.png beside it, else among the masks that come with the
/// tests.
std::optional<std::filesystem::path> maskFileOf(const std::filesystem::path& picture);

/// A picture as a camera would hand it over.
platform::PixelBufferRef asBgra(const cv::Mat3b& picture);

/// What a camera's compression leaves of a picture; `quality` 0…100 as JPEG counts it.
cv::Mat3b compressed(const cv::Mat3b& picture, int quality);

}  // namespace cobaltreel::composited

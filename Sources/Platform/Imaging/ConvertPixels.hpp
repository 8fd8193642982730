#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

namespace platform {

/// Copies a picture into another of the same size, format and matrix may differ: i420 and bgra in any pair,
/// gray8 to gray8. Throws PlatformError("Imaging", 2) for other pairs.
void convertPixels(const PixelBuffer& from, PixelBuffer& to);

}  // namespace platform

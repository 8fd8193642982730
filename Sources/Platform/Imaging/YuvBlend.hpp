#pragma once

#include "Platform/Imaging/YuvPlanes.hpp"

#include <cstdint>

namespace platform::imaging {

/// Source-over of premultiplied bgra onto `below`: A + B × (1 − alpha), evaluated on Y, U and V, which
/// are linear in the colors; a chroma sample takes the mean of its block. Where alpha and color are 0
/// the planes stay as they are, byte for byte.
void blendBgraOverI420(const std::uint8_t* bgra, int stride, const I420View& below, ColorMatrix matrix);

/// Writes premultiplied bgra, its transparency read as black, to `to`.
void bgraToI420(const std::uint8_t* bgra, int stride, const I420View& to, ColorMatrix matrix);

}  // namespace platform::imaging

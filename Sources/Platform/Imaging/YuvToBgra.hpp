#pragma once

#include "Platform/Imaging/YuvPlanes.hpp"

#include <cstdint>

namespace platform::imaging {

/// Opaque bgra from planes whose chroma is at half the size; all pixels of a block share its color.
void i420ToBgra(const I420View& from, ColorMatrix matrix, std::uint8_t* bgra, int stride);
/// The same from three planes of the full size.
void i444ToBgra(const I420View& from, ColorMatrix matrix, std::uint8_t* bgra, int stride);

}  // namespace platform::imaging

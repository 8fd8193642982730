#pragma once

#include "Platform/Imaging/YuvBlend.hpp"

#include <cstdint>

namespace platform::imaging {

/// Opaque bgra from planes; the chroma planes of the first are half the size, of the second the full size.
void i420ToBgra(const I420View& from, ColourMatrix matrix, std::uint8_t* bgra, int stride);
void i444ToBgra(const I420View& from, ColourMatrix matrix, std::uint8_t* bgra, int stride);

/// Full-range gray to opaque bgra; bgra to the luma of BT.601.
void grayToBgra(const std::uint8_t* gray, int grayStride, std::uint8_t* bgra, int stride, int width,
                int height);
void bgraToGray(const std::uint8_t* bgra, int stride, std::uint8_t* gray, int grayStride, int width,
                int height);

void copyRows(const std::uint8_t* from, int fromStride, std::uint8_t* to, int toStride, int rowBytes,
              int height);

}  // namespace platform::imaging

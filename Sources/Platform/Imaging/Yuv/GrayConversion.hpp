#pragma once

#include <cstdint>

namespace platform::imaging {

/// Full-range gray to opaque bgra; bgra to the full-range luma of BT.601.
void grayToBgra(const std::uint8_t* gray, int grayStride, std::uint8_t* bgra, int stride, int width,
                int height);
void bgraToGray(const std::uint8_t* bgra, int stride, std::uint8_t* gray, int grayStride, int width,
                int height);

}  // namespace platform::imaging

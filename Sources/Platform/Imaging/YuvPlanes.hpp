#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <array>
#include <cstdint>

namespace platform::imaging {

/// The planes of an i420 picture, or of a part of one that starts at even coordinates.
struct I420View {
    std::array<std::uint8_t*, 3> data{};
    std::array<int, 3> stride{};
    int width = 0;
    int height = 0;
};

/// The part of an i420 buffer from (left, top), both even, of the given size.
I420View viewOf(const PixelBuffer& buffer, int left, int top, int width, int height);
inline I420View viewOf(const PixelBuffer& buffer) {
    return viewOf(buffer, 0, 0, buffer.width(), buffer.height());
}

/// Rewrites planes of one matrix as those of another.
void convertMatrix(const I420View& picture, ColorMatrix from, ColorMatrix to);

}  // namespace platform::imaging

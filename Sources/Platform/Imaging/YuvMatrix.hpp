#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <cmath>
#include <cstdint>

namespace platform::imaging {

/// The numbers of ITU-R BT.601 and BT.709; the limited range is 16…235 for luma, 16…240 for chroma.
struct MatrixFigures {
    double kr, kb;
    double lumaRange, chromaRange;  // part of 0…255 in use
    int lumaOffset;
};

MatrixFigures figuresOf(ColorMatrix matrix);

/// A factor in 1/65536.
inline int fixedPoint(double value) { return static_cast<int>(std::lround(value * 65536)); }

[[gnu::always_inline]] inline std::uint8_t byteOf(int value) {
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

}  // namespace platform::imaging

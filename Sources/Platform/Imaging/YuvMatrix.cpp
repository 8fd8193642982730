#include "Platform/Imaging/YuvMatrix.hpp"

#include <cstddef>

namespace platform::imaging {
namespace {

std::array<std::uint8_t, 256> levels(double factor, double from, double to) {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = byteOf(static_cast<int>(std::lround((static_cast<double>(i) - from) * factor + to)));
    return table;
}

}  // namespace

MatrixFigures figuresOf(ColorMatrix matrix) {
    const bool is601 = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt601Full;
    const bool limited = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt709Limited;
    return {is601 ? 0.299 : 0.2126, is601 ? 0.114 : 0.0722, limited ? 219.0 / 255 : 1,
            limited ? 224.0 / 255 : 1, limited ? 16 : 0};
}

std::array<std::uint8_t, 256> grayOfLuma(ColorMatrix matrix) {
    const MatrixFigures f = figuresOf(matrix);
    return levels(1 / f.lumaRange, f.lumaOffset, 0);
}

std::array<std::uint8_t, 256> lumaOfGray(ColorMatrix matrix) {
    const MatrixFigures f = figuresOf(matrix);
    return levels(f.lumaRange, 0, f.lumaOffset);
}

}  // namespace platform::imaging

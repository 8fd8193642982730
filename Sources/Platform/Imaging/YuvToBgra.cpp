#include "Platform/Imaging/YuvToBgra.hpp"

#include "Platform/Imaging/CpuFeatures.hpp"
#include "Platform/Imaging/YuvMatrix.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace platform::imaging {
namespace {

// libyuv has this conversion too, but holds its factors in seven bits: the blue of BT.709 limited needs
// 2.11, gets 2.0, and saturated blues come out twelve levels wrong.

/// YUV to RGB in 1/65536.
struct Coefficients {
    explicit Coefficients(ColorMatrix matrix) {
        const MatrixFigures f = figuresOf(matrix);
        const double kg = 1 - f.kr - f.kb;
        const double u = 2 * (1 - f.kb) / f.chromaRange, v = 2 * (1 - f.kr) / f.chromaRange;
        luma = fixedPoint(1 / f.lumaRange);
        offset = f.lumaOffset;
        blueU = fixedPoint(u);
        greenU = fixedPoint(-f.kb / kg * u);
        greenV = fixedPoint(-f.kr / kg * v);
        redV = fixedPoint(v);
    }
    int luma, offset, blueU, greenU, greenV, redV;
};

[[gnu::always_inline]] inline void rowBody(const std::uint8_t* __restrict ys,
                                           const std::uint8_t* __restrict us,
                                           const std::uint8_t* __restrict vs, std::uint8_t* __restrict bgra,
                                           int width, const Coefficients& c) {
    const int luma = c.luma, offset = c.offset, blueU = c.blueU, greenU = c.greenU, greenV = c.greenV,
              redV = c.redV;
    for (int x = 0; x < width; ++x) {
        const int level = (ys[x] - offset) * luma + 32768;
        const int u = us[x] - 128, v = vs[x] - 128;
        const auto blue = static_cast<std::uint32_t>(byteOf((level + u * blueU) >> 16));
        const auto green = static_cast<std::uint32_t>(byteOf((level + u * greenU + v * greenV) >> 16));
        const auto red = static_cast<std::uint32_t>(byteOf((level + v * redV) >> 16));
        const std::uint32_t pixel = 0xff000000U | red << 16 | green << 8 | blue;
        std::memcpy(bgra + 4 * x, &pixel, 4);
    }
}

using Row = void (*)(const std::uint8_t* ys, const std::uint8_t* us, const std::uint8_t* vs,
                     std::uint8_t* bgra, int width, const Coefficients& c);

void row(const std::uint8_t* ys, const std::uint8_t* us, const std::uint8_t* vs, std::uint8_t* bgra,
         int width, const Coefficients& c) {
    rowBody(ys, us, vs, bgra, width, c);
}
#ifdef COBALTREEL_X86
COBALTREEL_AVX2 void rowAvx2(const std::uint8_t* ys, const std::uint8_t* us, const std::uint8_t* vs,
                             std::uint8_t* bgra, int width, const Coefficients& c) {
    rowBody(ys, us, vs, bgra, width, c);
}
#endif

Row rowKernel() {
#ifdef COBALTREEL_X86
    if (hasAvx2()) return rowAvx2;
#endif
    return row;
}

void doubled(const std::uint8_t* __restrict half, std::uint8_t* __restrict whole, int width) {
    for (int x = 0; x < width / 2; ++x) {
        const auto both = static_cast<std::uint16_t>(half[x] * 257);
        std::memcpy(whole + 2 * x, &both, 2);
    }
    if (width % 2) whole[width - 1] = half[width / 2];
}

}  // namespace

void i420ToBgra(const I420View& from, ColorMatrix matrix, std::uint8_t* bgra, int stride) {
    const Coefficients c(matrix);
    const Row kernel = rowKernel();
    // Even, so that a strip starts with a whole block.
    constexpr int strip = 1024;
    std::array<std::uint8_t, strip> us, vs;
    for (int y = 0; y < from.height; ++y) {
        const std::uint8_t* const luma = from.data[0] + static_cast<std::ptrdiff_t>(y) * from.stride[0];
        const std::uint8_t* const u = from.data[1] + static_cast<std::ptrdiff_t>(y / 2) * from.stride[1];
        const std::uint8_t* const v = from.data[2] + static_cast<std::ptrdiff_t>(y / 2) * from.stride[2];
        std::uint8_t* const out = bgra + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < from.width; x += strip) {
            const int width = std::min(strip, from.width - x);
            doubled(u + x / 2, us.data(), width);
            doubled(v + x / 2, vs.data(), width);
            kernel(luma + x, us.data(), vs.data(), out + 4 * static_cast<std::ptrdiff_t>(x), width, c);
        }
    }
}

void i444ToBgra(const I420View& from, ColorMatrix matrix, std::uint8_t* bgra, int stride) {
    const Coefficients c(matrix);
    const Row kernel = rowKernel();
    for (std::ptrdiff_t y = 0; y < from.height; ++y)
        kernel(from.data[0] + y * from.stride[0], from.data[1] + y * from.stride[1],
               from.data[2] + y * from.stride[2], bgra + y * stride, from.width, c);
}

}  // namespace platform::imaging

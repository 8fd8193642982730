#include "Platform/Imaging/YuvBlend.hpp"

#include "Platform/Imaging/CpuFeatures.hpp"
#include "Platform/Imaging/YuvMatrix.hpp"

#include <cstddef>
#include <cstring>

namespace platform::imaging {
namespace {

/// RGB to YUV in 1/65536.
struct Coefficients {
    explicit Coefficients(ColorMatrix matrix) {
        const MatrixFigures f = figuresOf(matrix);
        const double kg = 1 - f.kr - f.kb;
        yr = fixedPoint(f.kr * f.lumaRange);
        yb = fixedPoint(f.kb * f.lumaRange);
        // White and gray come out exact: the rows add up to the range and to nothing.
        yg = fixedPoint(f.lumaRange) - yr - yb;
        const double u = f.chromaRange / (2 * (1 - f.kb)), v = f.chromaRange / (2 * (1 - f.kr));
        ur = fixedPoint(-f.kr * u);
        ug = fixedPoint(-kg * u);
        ub = -ur - ug;
        vg = fixedPoint(-kg * v);
        vb = fixedPoint(-f.kb * v);
        vr = -vg - vb;
        offset = f.lumaOffset;
    }
    int yr, yg, yb, ur, ug, ub, vr, vg, vb;
    int offset;
};

/// 65536 / 255: what turns an alpha of 0…255 into 1/65536.
constexpr int alphaStep = 257;

[[gnu::always_inline]] inline std::uint32_t pixelAt(const std::uint8_t* bgra) {
    std::uint32_t pixel;
    std::memcpy(&pixel, bgra, 4);
    return pixel;
}
template <bool over>
[[gnu::always_inline]] inline void lumaRow(const std::uint8_t* __restrict bgra, std::uint8_t* __restrict luma,
                                           int width, const Coefficients& c) {
    const int yr = c.yr, yg = c.yg, yb = c.yb, offset = c.offset;
    for (int x = 0; x < width; ++x) {
        const std::uint32_t pixel = pixelAt(bgra + 4 * x);
        int level = yb * static_cast<int>(pixel & 255) + yg * static_cast<int>((pixel >> 8) & 255) +
                    yr * static_cast<int>((pixel >> 16) & 255);
        if constexpr (over) level += (luma[x] - offset) * (255 - static_cast<int>(pixel >> 24)) * alphaStep;
        luma[x] = byteOf(offset + ((level + 32768) >> 16));
    }
}

/// One row of chroma from two rows of pixels, whole blocks only.
template <bool over>
[[gnu::always_inline]] inline void chromaRow(const std::uint8_t* __restrict upper,
                                             const std::uint8_t* __restrict lower,
                                             std::uint8_t* __restrict us, std::uint8_t* __restrict vs,
                                             int blocks, const Coefficients& c) {
    const int ur = c.ur, ug = c.ug, ub = c.ub, vr = c.vr, vg = c.vg, vb = c.vb;
    for (int x = 0; x < blocks; ++x) {
        const std::uint32_t p = pixelAt(upper + 8 * x), q = pixelAt(upper + 8 * x + 4);
        const std::uint32_t r = pixelAt(lower + 8 * x), s = pixelAt(lower + 8 * x + 4);
        // Two channels in the halves of a word; four bytes add up to at most 1020.
        const std::uint32_t blueRed =
            (p & 0x00ff00ff) + (q & 0x00ff00ff) + (r & 0x00ff00ff) + (s & 0x00ff00ff);
        const std::uint32_t greenAlpha = ((p >> 8) & 0x00ff00ff) + ((q >> 8) & 0x00ff00ff) +
                                         ((r >> 8) & 0x00ff00ff) + ((s >> 8) & 0x00ff00ff);
        const int blue = static_cast<int>(blueRed & 0xffff), red = static_cast<int>(blueRed >> 16);
        const int green = static_cast<int>(greenAlpha & 0xffff);
        int u = ur * red + ug * green + ub * blue;
        int v = vr * red + vg * green + vb * blue;
        if constexpr (over) {
            const int rest = (1020 - static_cast<int>(greenAlpha >> 16)) * alphaStep;
            u += (us[x] - 128) * rest;
            v += (vs[x] - 128) * rest;
        }
        us[x] = byteOf(128 + ((u + (1 << 17)) >> 18));
        vs[x] = byteOf(128 + ((v + (1 << 17)) >> 18));
    }
}

template <bool over>
[[gnu::always_inline]] inline void rowPairBody(const std::uint8_t* upper, const std::uint8_t* lower,
                                               std::uint8_t* const* rows, int width, const Coefficients& c) {
    lumaRow<over>(upper, rows[0], width, c);
    if (rows[1]) lumaRow<over>(lower, rows[1], width, c);
    const int blocks = width / 2;
    chromaRow<over>(upper, lower, rows[2], rows[3], blocks, c);
    if (width % 2) {
        // The half block at the right edge counts its pixels twice.
        std::uint8_t up[8], low[8];
        for (int half = 0; half < 2; ++half) {
            std::memcpy(up + 4 * half, upper + 8 * blocks, 4);
            std::memcpy(low + 4 * half, lower + 8 * blocks, 4);
        }
        chromaRow<over>(up, low, rows[2] + blocks, rows[3] + blocks, 1, c);
    }
}

/// rows: upper luma, lower luma or null, U, V.
using RowPair = void (*)(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* const* rows,
                         int width, const Coefficients& c);

template <bool over>
void rowPair(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* const* rows, int width,
             const Coefficients& c) {
    rowPairBody<over>(upper, lower, rows, width, c);
}
#ifdef COBALTREEL_X86
template <bool over>
COBALTREEL_AVX2 void rowPairAvx2(const std::uint8_t* upper, const std::uint8_t* lower,
                                 std::uint8_t* const* rows, int width, const Coefficients& c) {
    rowPairBody<over>(upper, lower, rows, width, c);
}
#endif

template <bool over>
RowPair rowPairKernel() {
#ifdef COBALTREEL_X86
    if (hasAvx2()) return rowPairAvx2<over>;
#endif
    return rowPair<over>;
}

template <bool over>
void writeBgra(const std::uint8_t* bgra, int stride, const I420View& to, ColorMatrix matrix) {
    const Coefficients c(matrix);
    const RowPair kernel = rowPairKernel<over>();
    for (int y = 0; y < to.height; y += 2) {
        const bool hasLower = y + 1 < to.height;
        const std::uint8_t* upper = bgra + static_cast<std::ptrdiff_t>(y) * stride;
        const std::uint8_t* lower = hasLower ? upper + stride : upper;
        std::uint8_t* const luma = to.data[0] + static_cast<std::ptrdiff_t>(y) * to.stride[0];
        std::uint8_t* const rows[] = {luma, hasLower ? luma + to.stride[0] : nullptr,
                                      to.data[1] + static_cast<std::ptrdiff_t>(y / 2) * to.stride[1],
                                      to.data[2] + static_cast<std::ptrdiff_t>(y / 2) * to.stride[2]};
        kernel(upper, lower, rows, to.width, c);
    }
}

}  // namespace

void blendBgraOverI420(const std::uint8_t* bgra, int stride, const I420View& below, ColorMatrix matrix) {
    writeBgra<true>(bgra, stride, below, matrix);
}

void bgraToI420(const std::uint8_t* bgra, int stride, const I420View& to, ColorMatrix matrix) {
    writeBgra<false>(bgra, stride, to, matrix);
}

}  // namespace platform::imaging

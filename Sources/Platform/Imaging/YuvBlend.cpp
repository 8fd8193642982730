#include "Platform/Imaging/YuvBlend.hpp"

#include "Platform/Imaging/CpuFeatures.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace platform::imaging {
namespace {

/// The numbers of ITU-R BT.601 and BT.709; the limited range is 16…235 for luma, 16…240 for chroma.
struct MatrixFigures {
    double kr, kb;
    double lumaRange, chromaRange;  // part of 0…255 in use
    int lumaOffset;
};

MatrixFigures figuresOf(ColourMatrix matrix) {
    const bool is601 = matrix == ColourMatrix::bt601Limited || matrix == ColourMatrix::bt601Full;
    const bool limited = matrix == ColourMatrix::bt601Limited || matrix == ColourMatrix::bt709Limited;
    return {is601 ? 0.299 : 0.2126, is601 ? 0.114 : 0.0722, limited ? 219.0 / 255 : 1,
            limited ? 224.0 / 255 : 1, limited ? 16 : 0};
}

constexpr double fixedOne = 65536;
int fixedPoint(double value) { return static_cast<int>(std::lround(value * fixedOne)); }

/// RGB to YUV in 1/65536.
struct Coefficients {
    explicit Coefficients(ColourMatrix matrix) {
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
[[gnu::always_inline]] inline std::uint8_t byteOf(int value) {
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
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
void writeBgra(const std::uint8_t* bgra, int stride, const I420View& to, ColourMatrix matrix) {
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

std::array<std::uint8_t, 256> levels(double factor, double from, double to) {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = byteOf(static_cast<int>(std::lround((static_cast<double>(i) - from) * factor + to)));
    return table;
}

}  // namespace

I420View viewOf(const PixelBuffer& buffer, int left, int top, int width, int height) {
    I420View view;
    view.width = width;
    view.height = height;
    for (int i = 0; i < 3; ++i) {
        const Plane& plane = buffer.plane(i);
        const int half = i == 0 ? 1 : 2;
        const auto place = static_cast<std::size_t>(i);
        view.data[place] = plane.data + static_cast<std::ptrdiff_t>(top / half) * plane.stride + left / half;
        view.stride[place] = plane.stride;
    }
    return view;
}

void blendBgraOverI420(const std::uint8_t* bgra, int stride, const I420View& below, ColourMatrix matrix) {
    writeBgra<true>(bgra, stride, below, matrix);
}

void bgraToI420(const std::uint8_t* bgra, int stride, const I420View& to, ColourMatrix matrix) {
    writeBgra<false>(bgra, stride, to, matrix);
}

void fillBlack(const I420View& to, ColourMatrix matrix) {
    const int luma = figuresOf(matrix).lumaOffset;
    for (std::size_t i = 0; i < 3; ++i) {
        const int width = i == 0 ? to.width : (to.width + 1) / 2;
        const int height = i == 0 ? to.height : (to.height + 1) / 2;
        for (int y = 0; y < height; ++y)
            std::memset(to.data[i] + static_cast<std::ptrdiff_t>(y) * to.stride[i], i == 0 ? luma : 128,
                        static_cast<std::size_t>(width));
    }
}

void convertMatrix(const I420View& picture, ColourMatrix from, ColourMatrix to) {
    if (from == to) return;
    // With normalised y, b − y and r − y, both matrices describe the same colour; blue and red differences
    // of the target follow from those of the source alone, its luma from all three.
    const MatrixFigures a = figuresOf(from), b = figuresOf(to);
    const double kgA = 1 - a.kr - a.kb, kgB = 1 - b.kr - b.kb;
    const double blueA = 2 * (1 - a.kb),
                 redA = 2 * (1 - a.kr);  // (B − y) per unit of u, (R − y) per unit of v
    const double lumaU = b.kb * blueA - kgB * a.kb / kgA * blueA;
    const double lumaV = b.kr * redA - kgB * a.kr / kgA * redA;
    const double chroma = b.chromaRange / a.chromaRange;
    const double blueB = 2 * (1 - b.kb), redB = 2 * (1 - b.kr);
    const int yy = fixedPoint(b.lumaRange / a.lumaRange);
    const int yu = fixedPoint(lumaU * b.lumaRange / a.chromaRange),
              yv = fixedPoint(lumaV * b.lumaRange / a.chromaRange);
    const int uu = fixedPoint((blueA - lumaU) / blueB * chroma), uv = fixedPoint(-lumaV / blueB * chroma);
    const int vu = fixedPoint(-lumaU / redB * chroma), vv = fixedPoint((redA - lumaV) / redB * chroma);

    for (int y = 0; y < picture.height; y += 2) {
        std::uint8_t* const us = picture.data[1] + static_cast<std::ptrdiff_t>(y / 2) * picture.stride[1];
        std::uint8_t* const vs = picture.data[2] + static_cast<std::ptrdiff_t>(y / 2) * picture.stride[2];
        for (int row = y; row < std::min(y + 2, picture.height); ++row) {
            std::uint8_t* const luma = picture.data[0] + static_cast<std::ptrdiff_t>(row) * picture.stride[0];
            for (int x = 0; x < picture.width; ++x) {
                const int u = us[x / 2] - 128, v = vs[x / 2] - 128;
                luma[x] =
                    byteOf(b.lumaOffset + (((luma[x] - a.lumaOffset) * yy + u * yu + v * yv + 32768) >> 16));
            }
        }
        for (int x = 0; x < (picture.width + 1) / 2; ++x) {
            const int u = us[x] - 128, v = vs[x] - 128;
            us[x] = byteOf(128 + ((u * uu + v * uv + 32768) >> 16));
            vs[x] = byteOf(128 + ((u * vu + v * vv + 32768) >> 16));
        }
    }
}

std::array<std::uint8_t, 256> grayOfLuma(ColourMatrix matrix) {
    const MatrixFigures f = figuresOf(matrix);
    return levels(1 / f.lumaRange, f.lumaOffset, 0);
}

std::array<std::uint8_t, 256> lumaOfGray(ColourMatrix matrix) {
    const MatrixFigures f = figuresOf(matrix);
    return levels(f.lumaRange, 0, f.lumaOffset);
}

}  // namespace platform::imaging

#include "Platform/Imaging/YuvPlanes.hpp"

#include "Platform/Imaging/YuvMatrix.hpp"

#include <algorithm>
#include <cstddef>

namespace platform::imaging {

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

void convertMatrix(const I420View& picture, ColorMatrix from, ColorMatrix to) {
    if (from == to) return;
    // With normalised y, b − y and r − y, both matrices describe the same color; blue and red differences
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

}  // namespace platform::imaging

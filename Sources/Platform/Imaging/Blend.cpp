#include "Platform/Imaging/Blend.hpp"

#include "Platform/Imaging/PixelKernels.hpp"
#include "Platform/Imaging/YuvBlend.hpp"
#include "Platform/Imaging/YuvMatrix.hpp"

#include <cstddef>
#include <cstring>

namespace platform {

using namespace imaging;

void fillBlack(PixelBuffer& picture) {
    const bool isPlanar = picture.format() == PixelFormat::i420;
    for (int i = 0; i < picture.planeCount(); ++i) {
        const Plane& plane = picture.plane(i);
        const int level = !isPlanar ? 0 : i > 0 ? 128 : figuresOf(picture.matrix()).lumaOffset;
        const auto bytes = static_cast<std::size_t>(plane.width) * (isPlanar ? 1 : 4);
        for (int y = 0; y < plane.height; ++y) {
            std::memset(picture.row(y, i), level, bytes);
            if (!isPlanar)
                for (int x = 0; x < plane.width; ++x) picture.row(y)[4 * x + 3] = 255;
        }
    }
}

void blendOver(const PixelBuffer& top, PixelBuffer& below, int x, int y) {
    if (below.format() == PixelFormat::i420) {
        blendBgraOverI420(top.plane().data, top.plane().stride,
                          viewOf(below, x, y, top.width(), top.height()), below.matrix());
        return;
    }
    for (int row = 0; row < top.height(); ++row)
        pixelKernels().blendOver(top.row(row), below.row(y + row) + static_cast<std::ptrdiff_t>(x) * 4,
                                 top.width());
}

void multiplyByMask(PixelBuffer& picture, const PixelBuffer& mask) {
    for (int y = 0; y < picture.height(); ++y)
        pixelKernels().multiplyByMask(picture.row(y), mask.row(y), picture.width());
}

void add(const PixelBuffer& other, PixelBuffer& picture) {
    for (int y = 0; y < picture.height(); ++y)
        pixelKernels().add(other.row(y), picture.row(y), 4 * picture.width());
}

}  // namespace platform

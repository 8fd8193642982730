#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/RenderContext.hpp"
#include "Platform/Imaging/Yuv/GrayConversion.hpp"
#include "Platform/Imaging/YuvBlend.hpp"
#include "Platform/Imaging/YuvMatrix.hpp"
#include "Platform/Imaging/YuvToBgra.hpp"

#include <array>
#include <cstddef>
#include <cstring>
#include <string>

namespace platform {
namespace {

using namespace imaging;

std::string sizeOf(const PixelBuffer& buffer) {
    return std::to_string(buffer.width()) + " × " + std::to_string(buffer.height());
}

void copyPlanes(const PixelBuffer& from, PixelBuffer& to) {
    const int pixelBytes = from.format() == PixelFormat::bgra ? 4 : 1;
    for (int i = 0; i < from.planeCount(); ++i)
        for (std::ptrdiff_t y = 0; y < to.plane(i).height; ++y)
            std::memcpy(to.plane(i).data + y * to.plane(i).stride,
                        from.plane(i).data + y * from.plane(i).stride,
                        static_cast<std::size_t>(to.plane(i).width * pixelBytes));
}

void translateLuma(const PixelBuffer& from, PixelBuffer& to, const std::array<std::uint8_t, 256>& table) {
    const Plane &source = from.plane(), &target = to.plane();
    for (int y = 0; y < target.height; ++y) {
        const std::uint8_t* in = source.data + static_cast<std::ptrdiff_t>(y) * source.stride;
        std::uint8_t* out = target.data + static_cast<std::ptrdiff_t>(y) * target.stride;
        for (int x = 0; x < target.width; ++x) out[x] = table[in[x]];
    }
}

void convertFromBgra(const PixelBuffer& from, PixelBuffer& to) {
    const Plane& source = from.plane();
    if (to.format() == PixelFormat::i420)
        bgraToI420(source.data, source.stride, viewOf(to), to.matrix());
    else
        bgraToGray(source.data, source.stride, to.plane().data, to.plane().stride, to.width(), to.height());
}

void convertFromI420(const PixelBuffer& from, PixelBuffer& to) {
    if (to.format() == PixelFormat::bgra)
        i420ToBgra(viewOf(from), from.matrix(), to.plane().data, to.plane().stride);
    else
        translateLuma(from, to, grayOfLuma(from.matrix()));
}

void convertFromGray(const PixelBuffer& from, PixelBuffer& to) {
    if (to.format() == PixelFormat::bgra) {
        grayToBgra(from.plane().data, from.plane().stride, to.plane().data, to.plane().stride, to.width(),
                   to.height());
    } else {
        fillBlack(viewOf(to), to.matrix());
        translateLuma(from, to, lumaOfGray(to.matrix()));
    }
}

}  // namespace

void convertPixels(const PixelBuffer& from, PixelBuffer& to) {
    if (from.width() != to.width() || from.height() != to.height())
        throw PlatformError("Imaging", 2,
                            "A picture of " + sizeOf(from) + " pixels cannot be converted into one of " +
                                sizeOf(to) + "; scale it first.");
    if (from.format() == to.format()) {
        copyPlanes(from, to);
        if (to.format() == PixelFormat::i420) convertMatrix(viewOf(to), from.matrix(), to.matrix());
        return;
    }
    switch (from.format()) {
        case PixelFormat::bgra:
            convertFromBgra(from, to);
            return;
        case PixelFormat::i420:
            convertFromI420(from, to);
            return;
        case PixelFormat::gray8:
            convertFromGray(from, to);
            return;
    }
}

}  // namespace platform

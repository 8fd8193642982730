#include "Platform/Imaging/ConvertPixels.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/YuvBlend.hpp"
#include "Platform/Imaging/YuvToBgra.hpp"

#include <cstddef>
#include <cstring>
#include <string>

namespace platform {
namespace {

using namespace imaging;

std::string nameOf(const PixelBuffer& buffer) {
    const char* const format = buffer.format() == PixelFormat::bgra   ? "bgra"
                               : buffer.format() == PixelFormat::i420 ? "i420"
                                                                      : "gray8";
    return std::string(format) + " of " + std::to_string(buffer.width()) + " × " +
           std::to_string(buffer.height());
}

void copyPlanes(const PixelBuffer& from, PixelBuffer& to) {
    const int pixelBytes = from.format() == PixelFormat::bgra ? 4 : 1;
    for (int i = 0; i < from.planeCount(); ++i)
        for (int y = 0; y < to.plane(i).height; ++y)
            std::memcpy(to.row(y, i), from.row(y, i),
                        static_cast<std::size_t>(to.plane(i).width * pixelBytes));
}

}  // namespace

void convertPixels(const PixelBuffer& from, PixelBuffer& to) {
    const Plane &source = from.plane(), &target = to.plane();
    const bool isSameSize = from.width() == to.width() && from.height() == to.height();
    if (isSameSize && from.format() == to.format()) {
        copyPlanes(from, to);
        if (to.format() == PixelFormat::i420) convertMatrix(viewOf(to), from.matrix(), to.matrix());
    } else if (isSameSize && from.format() == PixelFormat::bgra && to.format() == PixelFormat::i420) {
        bgraToI420(source.data, source.stride, viewOf(to), to.matrix());
    } else if (isSameSize && from.format() == PixelFormat::i420 && to.format() == PixelFormat::bgra) {
        i420ToBgra(viewOf(from), from.matrix(), target.data, target.stride);
    } else {
        throw PlatformError(
            "Imaging", 2,
            "A picture in " + nameOf(from) + " pixels cannot be converted into one in " + nameOf(to) + ".");
    }
}

}  // namespace platform

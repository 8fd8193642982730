#include "Platform/Capture/Frames/CursorImage.hpp"

#include <algorithm>
#include <cstddef>

namespace platform {

namespace {

/// One premultiplied pixel over an opaque one.
std::uint32_t over(std::uint32_t top, std::uint32_t below) {
    const std::uint32_t rest = 255 - (top >> 24);
    std::uint32_t result = 0xff000000;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t sum = (top >> shift & 0xff) + ((below >> shift & 0xff) * rest + 127) / 255;
        result |= std::min(sum, 255U) << shift;
    }
    return result;
}

}  // namespace

void CursorImage::draw(const Plane& picture, int x, int y) const {
    const PixelRect full = boundsAt(x, y);
    const PixelRect seen = full.intersected({0, 0, picture.width, picture.height});
    for (int row = seen.y; row < seen.maxY(); ++row) {
        const std::uint32_t* from =
            pixels.data() + static_cast<std::ptrdiff_t>(row - full.y) * width + (seen.x - full.x);
        auto* to = reinterpret_cast<std::uint32_t*>(picture.data +
                                                    static_cast<std::ptrdiff_t>(row) * picture.stride) +
                   seen.x;
        for (int column = 0; column < seen.width; ++column) to[column] = over(from[column], to[column]);
    }
}

}  // namespace platform

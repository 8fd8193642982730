#include "Platform/Capture/Frames/Letterbox.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <libyuv.h>

namespace platform {

namespace {

constexpr int bytesPerPixel = 4;

std::uint8_t* pixelAt(const Plane& plane, int x, int y) {
    return plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride + x * bytesPerPixel;
}

bool isRoundedUp(int source, int frame) { return frame == source || frame == source + 1; }

}  // namespace

PixelRect letterboxed(int sourceWidth, int sourceHeight, int frameWidth, int frameHeight) {
    if (isRoundedUp(sourceWidth, frameWidth) && isRoundedUp(sourceHeight, frameHeight))
        return {0, 0, sourceWidth, sourceHeight};
    const double scale = std::min(static_cast<double>(frameWidth) / sourceWidth,
                                  static_cast<double>(frameHeight) / sourceHeight);
    const int width = std::clamp(static_cast<int>(std::lround(sourceWidth * scale)), 1, frameWidth);
    const int height = std::clamp(static_cast<int>(std::lround(sourceHeight * scale)), 1, frameHeight);
    return {(frameWidth - width) / 2, (frameHeight - height) / 2, width, height};
}

void drawLetterboxed(const Plane& source, PixelBuffer& frame) {
    const Plane& target = frame.plane();
    const PixelRect inside = letterboxed(source.width, source.height, frame.width(), frame.height());
    if (inside.width == source.width && inside.height == source.height) {
        libyuv::ARGBCopy(source.data, source.stride, pixelAt(target, inside.x, inside.y), target.stride,
                         inside.width, inside.height);
    } else {
        libyuv::ARGBScale(source.data, source.stride, source.width, source.height,
                          pixelAt(target, inside.x, inside.y), target.stride, inside.width, inside.height,
                          libyuv::kFilterBox);
    }
    if (isRoundedUp(inside.width, frame.width()) && isRoundedUp(inside.height, frame.height()) &&
        inside.x == 0 && inside.y == 0) {
        if (inside.width < frame.width())
            for (int y = 0; y < inside.height; ++y)
                std::memcpy(pixelAt(target, inside.width, y), pixelAt(target, inside.width - 1, y),
                            bytesPerPixel);
        if (inside.height < frame.height())
            std::memcpy(pixelAt(target, 0, inside.height), pixelAt(target, 0, inside.height - 1),
                        static_cast<std::size_t>(frame.width()) * bytesPerPixel);
        return;
    }
    constexpr std::uint32_t opaqueBlack = 0xff000000;
    const auto blacken = [&](int x, int y, int width, int height) {
        if (width > 0 && height > 0)
            libyuv::ARGBRect(target.data, target.stride, x, y, width, height, opaqueBlack);
    };
    blacken(0, 0, frame.width(), inside.y);
    blacken(0, inside.maxY(), frame.width(), frame.height() - inside.maxY());
    blacken(0, inside.y, inside.x, inside.height);
    blacken(inside.maxX(), inside.y, frame.width() - inside.maxX(), inside.height);
}

void makeOpaque(const Plane& bgra) {
    constexpr std::uint64_t alphaOfTwo = 0xff000000'ff000000;
    for (int y = 0; y < bgra.height; ++y) {
        std::uint8_t* row = pixelAt(bgra, 0, y);
        int x = 0;
        for (; x + 2 <= bgra.width; x += 2, row += 2 * bytesPerPixel) {
            std::uint64_t two;
            std::memcpy(&two, row, sizeof two);
            two |= alphaOfTwo;
            std::memcpy(row, &two, sizeof two);
        }
        if (x < bgra.width) row[3] = 0xff;
    }
}

}  // namespace platform

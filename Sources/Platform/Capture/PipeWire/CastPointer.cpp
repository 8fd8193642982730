#include "Platform/Capture/PipeWire/CastPointer.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {

namespace {

/// Where red, green, blue and alpha stand among a pixel's four bytes.
struct ByteOrder {
    int red, green, blue, alpha;
};

std::optional<ByteOrder> byteOrder(std::uint32_t format) {
    switch (format) {
        case SPA_VIDEO_FORMAT_RGBA:
            return ByteOrder{0, 1, 2, 3};
        case SPA_VIDEO_FORMAT_BGRA:
            return ByteOrder{2, 1, 0, 3};
        case SPA_VIDEO_FORMAT_ARGB:
            return ByteOrder{1, 2, 3, 0};
        case SPA_VIDEO_FORMAT_ABGR:
            return ByteOrder{3, 2, 1, 0};
        default:
            return std::nullopt;
    }
}

}  // namespace

bool CastPointer::update(const spa_meta_cursor& meta, std::size_t size) {
    const std::optional<Position> before = position_;
    constexpr int farthest = 1 << 20;  // no desktop is as wide
    const bool isThere = spa_meta_cursor_is_valid(&meta) && std::abs(meta.position.x) < farthest &&
                         std::abs(meta.position.y) < farthest && meta.position.x > INT32_MIN &&
                         meta.position.y > INT32_MIN;
    position_.reset();
    if (isThere) position_ = Position{meta.position.x, meta.position.y};
    const bool hasNewShape = isThere && readShape(meta, size);
    return hasNewShape || position_ != before;
}

bool CastPointer::readShape(const spa_meta_cursor& meta, std::size_t size) {
    const std::size_t begin = meta.bitmap_offset;
    if (begin < sizeof(spa_meta_cursor) || begin > size || size - begin < sizeof(spa_meta_bitmap))
        return false;
    const auto* const memory = reinterpret_cast<const std::uint8_t*>(&meta);
    spa_meta_bitmap bitmap{};
    std::memcpy(&bitmap, memory + begin, sizeof bitmap);
    const auto order = byteOrder(bitmap.format);
    const bool isEmpty = bitmap.size.width == 0 || bitmap.size.height == 0 || bitmap.offset == 0;
    if (isEmpty) {
        const bool wasShown = image_.width > 0;
        image_ = {};
        return wasShown;
    }
    const std::size_t left = size - begin;
    const std::uint64_t row = std::uint64_t{bitmap.size.width} * 4;
    if (!order || bitmap.size.width > largestSide || bitmap.size.height > largestSide ||
        bitmap.offset < sizeof bitmap || bitmap.offset > left || bitmap.stride < 0 ||
        static_cast<std::uint64_t>(bitmap.stride) < row)
        return false;
    const std::uint64_t needed = static_cast<std::uint64_t>(bitmap.stride) * (bitmap.size.height - 1) + row;
    if (needed > left - bitmap.offset) return false;

    image_.width = static_cast<int>(bitmap.size.width);
    image_.height = static_cast<int>(bitmap.size.height);
    image_.hotX = std::clamp(meta.hotspot.x, 0, image_.width - 1);
    image_.hotY = std::clamp(meta.hotspot.y, 0, image_.height - 1);
    image_.pixels.resize(std::size_t{bitmap.size.width} * bitmap.size.height);
    auto pixel = image_.pixels.begin();
    for (int y = 0; y < image_.height; ++y) {
        const std::uint8_t* from =
            memory + begin + bitmap.offset + static_cast<std::ptrdiff_t>(y) * bitmap.stride;
        for (int x = 0; x < image_.width; ++x, from += 4)
            *pixel++ = static_cast<std::uint32_t>(from[order->alpha]) << 24 |
                       static_cast<std::uint32_t>(from[order->red]) << 16 |
                       static_cast<std::uint32_t>(from[order->green]) << 8 | from[order->blue];
    }
    return true;
}

}  // namespace platform::pipewire

#include "Platform/Capture/PipeWire/CastPicture.hpp"

#include <algorithm>
#include <cstddef>

#include <libyuv.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {

namespace {

int bytesOf(std::uint32_t format) {
    return format == SPA_VIDEO_FORMAT_BGR || format == SPA_VIDEO_FORMAT_RGB ? 3 : 4;
}

/// The part of a side of the stream's picture that lies inside it, and does.
struct Span {
    int from = 0;
    int length = 0;
};
Span spanInside(std::int32_t from, std::uint32_t length, int whole) {
    const auto begin = std::clamp<std::int64_t>(from, 0, whole);
    const auto end = std::clamp<std::int64_t>(std::int64_t{from} + length, begin, whole);
    return {static_cast<int>(begin), static_cast<int>(end - begin)};
}

/// The part of the picture that is meant; all of it where what is said makes no sense.
PixelRect readCrop(const spa_buffer& buffer, int width, int height) {
    const auto* crop = static_cast<const spa_meta_region*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_VideoCrop, sizeof(spa_meta_region)));
    const PixelRect whole{0, 0, width, height};
    if (crop == nullptr || !spa_meta_region_is_valid(crop)) return whole;
    const spa_region& part = crop->region;
    const Span x = spanInside(part.position.x, part.size.width, width);
    const Span y = spanInside(part.position.y, part.size.height, height);
    return x.length > 0 && y.length > 0 ? PixelRect{x.from, y.from, x.length, y.length} : whole;
}

/// Absent where nothing is said; a list that is empty says nothing either.
std::optional<RectList> readDamage(const spa_buffer& buffer, const PixelRect& crop) {
    const spa_meta* meta = spa_buffer_find_meta(&buffer, SPA_META_VideoDamage);
    if (meta == nullptr || meta->data == nullptr) return std::nullopt;
    RectList areas;
    const auto* region = static_cast<const spa_meta_region*>(meta->data);
    for (std::size_t left = meta->size / sizeof *region; left > 0 && spa_meta_region_is_valid(region);
         --left, ++region) {
        const spa_region& part = region->region;
        const Span x = spanInside(part.position.x, part.size.width, crop.maxX());
        const Span y = spanInside(part.position.y, part.size.height, crop.maxY());
        areas.push_back(PixelRect{x.from - crop.x, y.from - crop.y, x.length, y.length}.intersected(
            {0, 0, crop.width, crop.height}));
    }
    if (areas.empty()) return std::nullopt;
    return areas;
}

}  // namespace

std::optional<CastPicture> readPicture(const spa_buffer& buffer, const CastFormat& format) {
    if (buffer.n_datas == 0) return std::nullopt;
    const spa_data& data = buffer.datas[0];
    if (data.data == nullptr || data.chunk == nullptr || data.chunk->size == 0 ||
        (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0)
        return std::nullopt;
    const auto* header = static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) return std::nullopt;

    const int width = static_cast<int>(format.size.width), height = static_cast<int>(format.size.height);
    const int bytes = bytesOf(format.pixelFormat);
    const int stride = data.chunk->stride != 0 ? data.chunk->stride : width * bytes;
    if (stride < width * bytes) return std::nullopt;
    const std::uint64_t needed = static_cast<std::uint64_t>(stride) * static_cast<std::uint64_t>(height - 1) +
                                 static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(bytes);
    if (data.chunk->offset + needed > data.maxsize) return std::nullopt;

    const PixelRect crop = readCrop(buffer, width, height);
    CastPicture picture;
    picture.format = format.pixelFormat;
    picture.x = crop.x;
    picture.y = crop.y;
    picture.changes = readDamage(buffer, crop);
    picture.plane = {static_cast<std::uint8_t*>(data.data) + data.chunk->offset +
                         static_cast<std::ptrdiff_t>(crop.y) * stride + crop.x * bytes,
                     stride, crop.width, crop.height};
    return picture;
}

bool isBgra(const CastPicture& picture) {
    return picture.format == SPA_VIDEO_FORMAT_BGRx || picture.format == SPA_VIDEO_FORMAT_BGRA;
}

void draw(const CastPicture& picture, const PixelRect& part, const Plane& plane) {
    const auto at = [&](const Plane& whole, int bytes) {
        return whole.data + static_cast<std::ptrdiff_t>(part.y) * whole.stride +
               static_cast<std::ptrdiff_t>(part.x) * bytes;
    };
    const auto convert = [&](auto from) {
        from(at(picture.plane, bytesOf(picture.format)), picture.plane.stride, at(plane, 4), plane.stride,
             part.width, part.height);
    };
    // libyuv names the order of a little-endian word, SPA the order in memory.
    switch (picture.format) {
        case SPA_VIDEO_FORMAT_RGBx:
        case SPA_VIDEO_FORMAT_RGBA:
            return convert(libyuv::ABGRToARGB);
        case SPA_VIDEO_FORMAT_xRGB:
        case SPA_VIDEO_FORMAT_ARGB:
            return convert(libyuv::BGRAToARGB);
        case SPA_VIDEO_FORMAT_xBGR:
        case SPA_VIDEO_FORMAT_ABGR:
            return convert(libyuv::RGBAToARGB);
        case SPA_VIDEO_FORMAT_BGR:
            return convert(libyuv::RGB24ToARGB);
        case SPA_VIDEO_FORMAT_RGB:
            return convert(libyuv::RAWToARGB);
        default:
            return convert(libyuv::ARGBCopy);
    }
}

}  // namespace platform::pipewire

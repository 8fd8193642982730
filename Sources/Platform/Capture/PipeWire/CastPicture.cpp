#include "Platform/Capture/PipeWire/CastPicture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <libyuv.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace platform::pipewire {

const std::array<std::uint32_t, castFormatCount> castFormats{
    SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_RGBA,
    SPA_VIDEO_FORMAT_xRGB, SPA_VIDEO_FORMAT_ARGB, SPA_VIDEO_FORMAT_xBGR, SPA_VIDEO_FORMAT_ABGR,
    SPA_VIDEO_FORMAT_BGR,  SPA_VIDEO_FORMAT_RGB};

namespace {

constexpr int bytesPerPixel = 4;  // of what is drawn

int bytesOf(std::uint32_t format) {
    return format == SPA_VIDEO_FORMAT_BGR || format == SPA_VIDEO_FORMAT_RGB ? 3 : 4;
}

std::uint8_t* pixelAt(const Plane& plane, int x, int y) {
    return plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride + x * bytesPerPixel;
}

void makeOpaque(const Plane& plane) {
    for (int y = 0; y < plane.height; ++y) {
        std::uint8_t* row = pixelAt(plane, 0, y);
        for (int x = 0; x < plane.width; ++x) row[x * bytesPerPixel + 3] = 0xff;
    }
}

/// What a compositor leaves in the fourth byte is undefined.
void copyOpaque(const CastPicture& picture, const Plane& plane) {
    for (int y = 0; y < plane.height; ++y) {
        const std::uint8_t* from = picture.data + static_cast<std::ptrdiff_t>(y) * picture.stride;
        std::uint8_t* to = pixelAt(plane, 0, y);
        for (int x = 0; x < plane.width; ++x) {
            std::uint32_t pixel;
            std::memcpy(&pixel, from + x * bytesPerPixel, sizeof pixel);
            pixel |= 0xff000000;
            std::memcpy(to + x * bytesPerPixel, &pixel, sizeof pixel);
        }
    }
}

}  // namespace

std::optional<CastPicture> readPicture(const spa_buffer& buffer, std::uint32_t format, Size size) {
    if (buffer.n_datas == 0) return std::nullopt;
    const spa_data& data = buffer.datas[0];
    if (data.data == nullptr || data.chunk == nullptr || data.chunk->size == 0 ||
        (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0)
        return std::nullopt;
    const auto* header = static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) return std::nullopt;

    CastPicture picture;
    picture.format = format;
    picture.width = static_cast<int>(size.width);
    picture.height = static_cast<int>(size.height);
    const int bytes = bytesOf(format);
    picture.stride = data.chunk->stride != 0 ? data.chunk->stride : picture.width * bytes;
    if (picture.stride < picture.width * bytes) return std::nullopt;
    const std::uint64_t needed =
        static_cast<std::uint64_t>(picture.stride) * static_cast<std::uint64_t>(picture.height - 1) +
        static_cast<std::uint64_t>(picture.width) * static_cast<std::uint64_t>(bytes);
    if (data.chunk->offset + needed > data.maxsize) return std::nullopt;

    const auto* crop = static_cast<const spa_meta_region*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_VideoCrop, sizeof(spa_meta_region)));
    if (crop != nullptr && spa_meta_region_is_valid(crop)) {
        const spa_region& part = crop->region;
        picture.x = std::clamp(part.position.x, 0, picture.width - 1);
        picture.y = std::clamp(part.position.y, 0, picture.height - 1);
        picture.width = static_cast<int>(
            std::min<std::uint32_t>(part.size.width, static_cast<std::uint32_t>(picture.width - picture.x)));
        picture.height = static_cast<int>(std::min<std::uint32_t>(
            part.size.height, static_cast<std::uint32_t>(picture.height - picture.y)));
    }
    picture.data = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset +
                   static_cast<std::ptrdiff_t>(picture.y) * picture.stride + picture.x * bytes;
    return picture;
}

void draw(const CastPicture& picture, const Plane& plane) {
    const auto convert = [&](auto from) {
        from(picture.data, picture.stride, plane.data, plane.stride, plane.width, plane.height);
        makeOpaque(plane);
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
            return copyOpaque(picture, plane);
    }
}

CastFit fitPicture(int width, int height, int frameWidth, int frameHeight) {
    if (std::abs(width - frameWidth) <= 1 && std::abs(height - frameHeight) <= 1)
        return {0, 0, std::min(width, frameWidth), std::min(height, frameHeight), true};
    const double scale =
        std::min(static_cast<double>(frameWidth) / width, static_cast<double>(frameHeight) / height);
    const int w = std::clamp(static_cast<int>(std::lround(width * scale)), 1, frameWidth);
    const int h = std::clamp(static_cast<int>(std::lround(height * scale)), 1, frameHeight);
    return {(frameWidth - w) / 2, (frameHeight - h) / 2, w, h, false};
}

void drawFitted(const Plane& picture, const CastFit& fit, const Plane& frame) {
    if (fit.isExact) {
        libyuv::ARGBCopy(picture.data, picture.stride, frame.data, frame.stride, fit.width, fit.height);
        if (fit.width < frame.width)
            for (int y = 0; y < fit.height; ++y)
                std::memcpy(pixelAt(frame, fit.width, y), pixelAt(frame, fit.width - 1, y), bytesPerPixel);
        if (fit.height < frame.height)
            std::memcpy(pixelAt(frame, 0, fit.height), pixelAt(frame, 0, fit.height - 1),
                        static_cast<std::size_t>(frame.width) * bytesPerPixel);
        return;
    }
    constexpr std::uint32_t opaqueBlack = 0xff000000;
    libyuv::ARGBRect(frame.data, frame.stride, 0, 0, frame.width, frame.height, opaqueBlack);
    libyuv::ARGBScale(picture.data, picture.stride, picture.width, picture.height,
                      pixelAt(frame, fit.x, fit.y), frame.stride, fit.width, fit.height, libyuv::kFilterBox);
}

}  // namespace platform::pipewire

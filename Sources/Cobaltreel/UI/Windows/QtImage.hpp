#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <QImage>
#include <memory>
#include <utility>

namespace cobaltreel {

/// The pixels of a bgra buffer without a copy, read-only; the image keeps the buffer alive. Null for none.
inline QImage imageOver(platform::ConstPixelBufferRef buffer, QImage::Format format) {
    if (!buffer) return {};
    const platform::Plane& plane = buffer->plane();
    const uchar* pixels = plane.data;
    using Reference = platform::ConstPixelBufferRef;
    auto kept = std::make_unique<Reference>(std::move(buffer));
    const auto letGo = [](void* reference) {
        const std::unique_ptr<Reference> freed(static_cast<Reference*>(reference));
    };
    return {pixels, plane.width, plane.height, plane.stride, format, letGo, kept.release()};
}

/// The pixels of an image of 32 bits a pixel without a copy, to be read only; the buffer keeps the image
/// alive.
inline platform::PixelBuffer bufferOver(const QImage& image) {
    const platform::Plane plane{const_cast<uchar*>(image.constBits()), static_cast<int>(image.bytesPerLine()),
                                image.width(), image.height()};
    return {platform::PixelFormat::bgra,
            image.width(),
            image.height(),
            {plane},
            std::make_shared<const QImage>(image)};
}

}  // namespace cobaltreel

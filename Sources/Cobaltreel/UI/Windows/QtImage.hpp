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

}  // namespace cobaltreel

#include "Cobaltreel/UI/BubbleWindow/RoundFeeder.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"
#include "Platform/Imaging/Image.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace cobaltreel {
namespace {

/// Shown, waiting for the main thread, being painted, being rendered.
constexpr std::size_t picturesAtOnce = 4;

}  // namespace

void RoundFeeder::feed(const platform::ConstPixelBufferRef& frame) {
    {
        const std::scoped_lock lock(lock_);
        next_ = frame;
        if (std::exchange(busy_, true)) return;
    }
    if (queue_.async([this] { renderAll(); })) return;
    const std::scoped_lock lock(lock_);
    busy_ = false;
}

void RoundFeeder::renderAll() {
    for (;;) {
        platform::ConstPixelBufferRef frame;
        {
            const std::scoped_lock lock(lock_);
            frame = std::exchange(next_, nullptr);
            if (!frame) {
                busy_ = false;
                return;
            }
        }
        try {
            render(frame);
        } catch (const std::exception&) {
            // This picture is left out; the next one may do.
        }
    }
}

void RoundFeeder::render(const platform::ConstPixelBufferRef& frame) {
    const QSize shown = size();
    if (shown.isEmpty()) return;
    const double width = shown.width(), height = shown.height();
    if (!stencil_ || stencil_->size() != shown) {
        pool_.emplace(platform::PixelFormat::bgra, shown.width(), shown.height(), picturesAtOnce);
        stencil_.emplace(shown, ringWidth_);
    }
    const platform::PixelBufferRef target = pool_->createPixelBuffer();
    if (!target) return;

    const double scale = std::max(width / frame->width(), height / frame->height());
    const platform::Image picture =
        platform::Image::fromBuffer(frame)
            .scaled(scale, scale)
            .translated((width - frame->width() * scale) / 2, (height - frame->height() * scale) / 2);
    context_.render(picture, *target, {0, 0, width, height});
    constexpr auto format = QImage::Format_ARGB32_Premultiplied;
    const platform::Plane& plane = target->plane();
    QImage round(plane.data, plane.width, plane.height, plane.stride, format);
    stencil_->cut(round);
    hand(imageOver(target, format));
}

}  // namespace cobaltreel

#include "Cobaltreel/UI/BubbleWindow/RoundFeeder.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"

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
    if (!bubble_ || QSize(bubble_->width(), bubble_->height()) != shown) {
        pool_.emplace(platform::PixelFormat::bgra, shown.width(), shown.height(), picturesAtOnce);
        bubble_.emplace(shown.width(), shown.height(),
                        RoundBubble::Shape::filling(shown.width(), shown.height(), ringWidth_));
    }
    const platform::PixelBufferRef target = pool_->createPixelBuffer();
    if (!target) return;
    bubble_->draw(frame.get(), *target, resampler_);
    hand(imageOver(target, QImage::Format_ARGB32_Premultiplied));
}

QImage RoundFeeder::empty(QSize size, double ringWidth) {
    const RoundBubble bubble(size.width(), size.height(),
                             RoundBubble::Shape::filling(size.width(), size.height(), ringWidth));
    const auto target =
        std::make_shared<platform::PixelBuffer>(platform::PixelFormat::bgra, size.width(), size.height());
    platform::Resampler resampler;
    bubble.draw(nullptr, *target, resampler);
    return imageOver(target, QImage::Format_ARGB32_Premultiplied);
}

}  // namespace cobaltreel

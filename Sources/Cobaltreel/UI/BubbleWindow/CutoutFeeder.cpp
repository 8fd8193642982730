#include "Cobaltreel/UI/BubbleWindow/CutoutFeeder.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace cobaltreel {

CutoutFeeder::CutoutFeeder(std::shared_ptr<platform::Clock> clock,
                           std::shared_ptr<platform::MainLoop> mainLoop,
                           std::shared_ptr<platform::VisionService> vision)
    : BubbleFeeder(std::move(mainLoop)),
      clock_(std::move(clock)),
      hasVision_(vision != nullptr),
      segmenter_(PersonSegmenter::Quality::fast, std::move(vision)) {}

bool CutoutFeeder::admit() {
    const double now = clock_->now();
    const std::scoped_lock lock(lock_);
    if (busy_ || now - lastTime_ < minInterval) return false;
    busy_ = true;
    lastTime_ = now;
    return true;
}

void CutoutFeeder::finish() {
    const std::scoped_lock lock(lock_);
    busy_ = false;
}

void CutoutFeeder::feed(const platform::ConstPixelBufferRef& frame) {
    if (!hasVision_ || !admit()) return;
    const bool queued = queue_.async([this, frame] {
        try {
            render(frame);
        } catch (const std::exception&) {
            // This picture is left out; the next one may do.
        }
        finish();
    });
    if (!queued) finish();
}

void CutoutFeeder::render(const platform::ConstPixelBufferRef& frame) {
    const QSize room = size();
    const auto mask = segmenter_.mask(frame);
    if (!mask || room.isEmpty()) return;
    const auto person = PersonSegmenter::apply(*mask, platform::Image::fromBuffer(frame));
    if (!person) return;
    // Rendered in the size in which it is seen: a bubble has a tenth of the pixels of a camera's picture.
    const platform::Rect extent = person->extent();
    const double scale = std::min({1.0, room.width() / extent.w, room.height() / extent.h});
    const int width = std::max(1, static_cast<int>(std::lround(extent.w * scale)));
    const int height = std::max(1, static_cast<int>(std::lround(extent.h * scale)));
    const platform::Image shown =
        person->memoized().translated(-extent.x, -extent.y).scaled(width / extent.w, height / extent.h);
    hand(imageOver(ci_.makeBitmap(shown, width, height), QImage::Format_ARGB32_Premultiplied));
}

}  // namespace cobaltreel

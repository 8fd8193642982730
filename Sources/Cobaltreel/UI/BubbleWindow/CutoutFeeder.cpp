#include "Cobaltreel/UI/BubbleWindow/CutoutFeeder.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"

#include <exception>
#include <utility>

namespace cobaltreel {

CutoutFeeder::CutoutFeeder(std::shared_ptr<platform::Clock> clock,
                           std::shared_ptr<platform::MainLoop> mainLoop,
                           std::shared_ptr<platform::VisionService> vision)
    : BubbleFeeder(std::move(mainLoop)),
      clock_(std::move(clock)),
      hasVision_(vision != nullptr),
      cutout_(PersonSegmenter::Quality::fast, std::move(vision)) {}

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
    if (const auto person = cutout_.picture(frame, room.width(), room.height()))
        hand(imageOver(person, QImage::Format_ARGB32_Premultiplied));
}

}  // namespace cobaltreel

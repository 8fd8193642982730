#include "Cobaltreel/Capture/MouseSampler.hpp"

#include <utility>

namespace cobaltreel {

MouseSampler::MouseSampler(std::shared_ptr<platform::Clock> clock,
                           std::shared_ptr<platform::MainLoop> mainLoop,
                           std::shared_ptr<platform::Desktop> desktop)
    : clock_(std::move(clock)), mainLoop_(std::move(mainLoop)), desktop_(std::move(desktop)) {}

void MouseSampler::start(CaptureMode mode, std::uint32_t windowID) {
    timer_.reset();
    samples_.clear();
    windowFrames_.clear();
    mode_ = mode;
    windowID_ = windowID;
    started_ = clock_->now();
    // The timer ends with the sampler, so the callback never outlives it.
    timer_ = mainLoop_->scheduleRepeating(interval, [this] { takeSample(); });
}

void MouseSampler::takeSample() {
    const platform::PointerState pointer = desktop_->pointer();
    const double t = clock_->now() - pointer.delay;
    if (t < started_) return;
    samples_.push_back({t, pointer.x, pointer.y, pointer.buttons});
    if (mode_ != CaptureMode::window) return;
    if (const auto bounds = desktop_->windowBounds(windowID_))
        windowFrames_.push_back({t, bounds->x, bounds->y, bounds->w, bounds->h});
}

EventLog MouseSampler::takeSamples() {
    return {1, std::exchange(samples_, {}), std::exchange(windowFrames_, {})};
}

EventLog MouseSampler::stop() {
    timer_.reset();
    return {1, samples_, windowFrames_};
}

}  // namespace cobaltreel

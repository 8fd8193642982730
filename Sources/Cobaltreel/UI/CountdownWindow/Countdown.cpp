#include "Cobaltreel/UI/CountdownWindow/Countdown.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <utility>

namespace cobaltreel {

void CountdownModel::setDigit(int digit) {
    if (digit == digit_) return;
    Q_EMIT digitWillChange();
    digit_ = digit;
    Q_EMIT digitChanged();
}

Countdown::Countdown(std::shared_ptr<platform::MainLoop> mainLoop, std::shared_ptr<platform::KeyGrabber> keys,
                     CountdownOverlayFactory overlay)
    : mainLoop_(std::move(mainLoop)), keys_(std::move(keys)), makeOverlay_(std::move(overlay)) {}

void Countdown::run(std::function<void()> onCancel, std::function<void()> onDone) {
    finish();
    onCancel_ = std::move(onCancel);
    onDone_ = std::move(onDone);
    model_.setDigit(3);
    window_ = makeOverlay_(model_);
    try {
        keyMonitor_ = keys_->grabEscape([this] { end(onCancel_); });
    } catch (const platform::PlatformError&) {
        // A desktop that does not give the key away: the countdown can't be cancelled, the recording can
        // be stopped.
    }
    // One timer that keeps its beat: a late digit doesn't delay the next.
    timer_ = mainLoop_->scheduleRepeating(digitTime, [this] { step(); });
}

void Countdown::step() {
    if (model_.digit() == 1) return end(onDone_);
    model_.setDigit(model_.digit() - 1);
}

void Countdown::end(std::function<void()> callback) {
    finish();
    if (callback) callback();  // may destroy this object
}

void Countdown::finish() {
    timer_.reset();
    keyMonitor_.reset();
    window_.reset();
    onCancel_ = nullptr;
    onDone_ = nullptr;
}

}  // namespace cobaltreel

#include "Fakes/FakePlayer.hpp"

#include <algorithm>
#include <utility>

namespace platform {

void FakePlayer::replaceCurrentItem(PlayerItem item) {
    items.push_back(std::move(item));
    open_ = false;
    seekTarget_.reset();
    seekTimer_.reset();
    picture_.reset();
    settle(0);
    openTimer_ = loop_.scheduleOnce(0, [this] { opened(); });
    stop();
}

void FakePlayer::opened() {
    open_ = true;
    settle(anchorTime_);
    if (seekTarget_) seekTimer_ = loop_.scheduleOnce(0, [this] { arrive(); });
    scheduleBeat();
}

void FakePlayer::setRate(double rate) {
    if (rate == rate_) return;
    const bool statusChanges = (rate == 0) != (rate_ == 0);
    settle(currentTime());
    rate_ = rate;
    scheduleBeat();
    if (!statusChanges) return;
    const auto alive = lifetime_.watch();
    statusObservers_.notify(timeControlStatus());
    if (alive) periodicObservers_.jump(currentTime());
}

double FakePlayer::currentTime() const {
    if (seekTarget_) return *seekTarget_;
    if (!isMoving()) return anchorTime_;
    const double played = (clock_.now() - anchorClock_) * rate_;
    return std::clamp(anchorTime_ + played, 0.0, duration_);
}

void FakePlayer::seek(double seconds, double tolerance) {
    seeks.push_back({seconds, tolerance});
    if (!hasCurrentItem()) return;
    seekTarget_ = std::clamp(seconds, 0.0, duration_);
    if (open_) seekTimer_ = loop_.scheduleOnce(0, [this] { arrive(); });
}

void FakePlayer::arrive() {
    settle(*std::exchange(seekTarget_, std::nullopt));
    scheduleBeat();
    const auto alive = lifetime_.watch();
    jumpObservers_.notify(currentTime());
    if (alive) periodicObservers_.jump(currentTime());
}

std::unique_ptr<Observation> FakePlayer::addPeriodicTimeObserver(double interval, TimeHandler handler) {
    auto observation = periodicObservers_.add(interval, currentTime(), std::move(handler));
    scheduleBeat();
    return observation;
}

void FakePlayer::drift(double seconds) {
    settle(std::clamp(currentTime() + seconds, 0.0, duration_));
    scheduleBeat();
}

void FakePlayer::fail(const PlatformError& error) {
    const auto alive = lifetime_.watch();
    stop();
    if (alive) failureObservers_.notify(error);
}

void FakePlayer::showPicture(ConstPixelBufferRef picture) {
    picture_ = std::move(picture);
    pictureObservers_.notify();
}

void FakePlayer::settle(double seconds) {
    anchorTime_ = seconds;
    anchorClock_ = clock_.now();
}

/// Sets the timer for the next thing that happens while time goes on: somebody to be called, or the end.
void FakePlayer::scheduleBeat() {
    beatTimer_.reset();
    if (!isMoving() || rate_ <= 0) return;
    const double next = std::min(periodicObservers_.nextDue(), duration_);
    beatTimer_ = loop_.scheduleOnce(std::max(0.0, (next - currentTime()) / rate_), [this] { beat(); });
}

void FakePlayer::beat() {
    const auto alive = lifetime_.watch();
    if (currentTime() >= duration_ - 1e-9) {
        settle(duration_);
        stop();
        return;
    }
    periodicObservers_.advance(currentTime());
    if (alive) scheduleBeat();
}

/// Playback stops by itself.
void FakePlayer::stop() {
    if (rate_ == 0) return;
    settle(currentTime());
    rate_ = 0;
    beatTimer_.reset();
    const auto alive = lifetime_.watch();
    statusObservers_.notify(timeControlStatus());
    if (alive) periodicObservers_.jump(currentTime());
}

std::unique_ptr<Player> FakePlayerService::makePlayer() {
    auto player = std::make_unique<FakePlayer>(clock_, loop_, duration);
    players.push_back(player.get());
    return player;
}

}  // namespace platform

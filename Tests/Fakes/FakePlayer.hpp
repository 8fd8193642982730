#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Media/Player.hpp"
#include "Platform/Media/PlayerObservers.hpp"

#include <optional>
#include <vector>

namespace platform {

/// What a fake player was asked for.
struct SeekRequest {
    double seconds = 0;
    double tolerance = 0;
    friend bool operator==(const SeekRequest&, const SeekRequest&) = default;
};

/// A player that plays nothing: its time goes on with the clock, its records tell what it was asked.
/// Deterministic with VirtualTime, which is both the clock and the main loop. Main thread.
class FakePlayer final : public ObservablePlayer {
  public:
    /// `duration`: of every item, seconds.
    FakePlayer(const Clock& clock, MainLoop& loop, double duration)
        : clock_(clock), loop_(loop), duration_(duration) {}

    std::vector<PlayerItem> items;
    std::vector<SeekRequest> seeks;
    bool muted = false;

    /// Moves the time without telling anybody, as playback that falls behind or runs ahead does.
    void drift(double seconds);
    /// Reports a failure of the item being played; playback stops.
    void fail(const PlatformError& error);
    /// Shows a picture.
    void showPicture(ConstPixelBufferRef picture);

    void replaceCurrentItem(PlayerItem item) override;
    bool hasCurrentItem() const override { return !items.empty(); }
    void setMuted(bool value) override { muted = value; }
    void setRate(double rate) override;
    double rate() const override { return rate_; }
    TimeControlStatus timeControlStatus() const override {
        return rate_ == 0 ? TimeControlStatus::paused : TimeControlStatus::playing;
    }
    double currentTime() const override;
    std::optional<double> duration() const override {
        return open_ ? std::optional(duration_) : std::nullopt;
    }
    void seek(double seconds, double tolerance) override;
    std::unique_ptr<Observation> addPeriodicTimeObserver(double interval, TimeHandler handler) override;
    void setPictureSize(int, int) override {}
    ConstPixelBufferRef picture() const override { return picture_; }

  private:
    bool isMoving() const { return open_ && rate_ != 0 && !seekTarget_; }
    void settle(double seconds);
    void opened();
    void arrive();
    void scheduleBeat();
    void beat();
    void stop();

    const Clock& clock_;
    MainLoop& loop_;
    double duration_;
    bool open_ = false;
    double rate_ = 0;
    double anchorTime_ = 0;   // of the item, at…
    double anchorClock_ = 0;  // …this reading of the clock
    std::optional<double> seekTarget_;
    ConstPixelBufferRef picture_;
    std::unique_ptr<Timer> openTimer_;
    std::unique_ptr<Timer> seekTimer_;
    std::unique_ptr<Timer> beatTimer_;
    Lifetime lifetime_;  // callbacks may destroy the player
};

/// Makes fake players and remembers them. Main thread.
class FakePlayerService final : public PlayerService {
  public:
    FakePlayerService(const Clock& clock, MainLoop& loop) : clock_(clock), loop_(loop) {}

    double duration = 60;              ///< of what the next players play, seconds
    std::vector<FakePlayer*> players;  ///< in the order made; whoever asked for one owns it

    std::unique_ptr<Player> makePlayer() override;

  private:
    const Clock& clock_;
    MainLoop& loop_;
};

}  // namespace platform

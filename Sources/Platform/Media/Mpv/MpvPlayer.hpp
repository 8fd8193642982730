#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Media/Mpv/MpvHandle.hpp"
#include "Platform/Media/Mpv/SoundStream.hpp"
#include "Platform/Media/PicturePlayer.hpp"
#include "Platform/Media/Player.hpp"
#include "Platform/Media/PlayerObservers.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace platform::mpv {

/// A player whose sound is the library's, which also sets the pace, and whose pictures follow that pace.
/// The library does not show the pictures itself: it takes the next frame for the one on screen at a time,
/// and a recording of a screen that stands still for seconds would jump there with its sound.
class MpvPlayer final : public Player {
  public:
    /// What is left of a player is destroyed on `endings`, because closing a sound device takes time.
    MpvPlayer(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
              std::shared_ptr<MediaService> media, std::shared_ptr<SerialQueue> endings);
    ~MpvPlayer() override;

    void replaceCurrentItem(PlayerItem item) override;
    bool hasCurrentItem() const override { return item_ != 0; }
    void setMuted(bool muted) override;
    void setRate(double rate) override;
    double rate() const override { return rate_; }
    TimeControlStatus timeControlStatus() const override {
        return rate_ == 0 ? TimeControlStatus::paused : TimeControlStatus::playing;
    }
    double currentTime() const override;
    std::optional<double> duration() const override { return duration_; }
    void seek(double seconds, double tolerance) override;
    std::unique_ptr<Observation> addPeriodicTimeObserver(double interval, TimeHandler handler) override;
    std::unique_ptr<Observation> observeTimeControlStatus(
        std::function<void(TimeControlStatus)> handler) override {
        return statusObservers_.add(std::move(handler));
    }
    std::unique_ptr<Observation> observeTimeJumped(TimeHandler handler) override {
        return jumpObservers_.add(std::move(handler));
    }
    std::unique_ptr<Observation> observeFailure(ErrorHandler handler) override {
        return failureObservers_.add(std::move(handler));
    }
    void setPictureSize(int width, int height) override { pictures().setSize(width, height); }
    std::unique_ptr<Observation> observePictures(std::function<void()> handler) override {
        return pictureObservers_.add(std::move(handler));
    }
    ConstPixelBufferRef picture() const override { return picture_; }

  private:
    /// What threads other than the main one work with.
    struct Machinery {
        std::shared_ptr<MainLoop> loop;
        SoundStream stream;
        std::atomic<bool> wakeupPosted{false};
        std::function<void()> wakeup;
        HandlePtr handle;
        std::unique_ptr<PicturePlayer> pictures;
    };
    /// A seek that both the sound and the pictures have been sent on.
    struct Flight {
        std::uint64_t number;
        double target;
        bool soundLeft = false;
        bool soundArrived = false;
        bool pictureArrived = false;
    };

    PicturePlayer& pictures() { return *machinery_->pictures; }
    mpv_handle* handle() { return machinery_->handle.get(); }
    PicturePlayer::Events pictureEvents();
    std::function<void()> onMain(void (MpvPlayer::*method)());

    void drainEvents();
    void handleEvent(const mpv_event& event);
    void handleReply(const mpv_event& event);
    void handleProperty(const mpv_event_property& property);
    void handleSoundEnd(const mpv_event_end_file& end);

    void opened(std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound);
    void failed(std::uint64_t item, const PlatformError& error);
    void takePicture();
    void soundLoaded();
    void launch();
    void checkArrival();
    void startMoving();
    void soundMoves(bool moves);
    void followSound(double seconds);
    void stop();
    void holdTime();
    void statusChanged();
    void setMotion(double time, double rate);
    void setPaused(bool paused);
    void scheduleBeat();
    void beat();

    std::shared_ptr<MainLoop> loop_;
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<SerialQueue> endings_;
    std::unique_ptr<Machinery> machinery_;

    std::uint64_t item_ = 0;  // counts items; 0 before the first
    std::string itemName_;
    std::optional<double> duration_;
    std::int64_t soundEntry_ = 0;    // the library's number of the item's sound; 0 until it is known
    std::int64_t startedEntry_ = 0;  // the one that the library began last
    bool soundLoaded_ = false;
    bool broken_ = false;  // the item could not be opened; it does not play
    double rate_ = 0;      // as asked for; time moves when `motion_` does
    Motion motion_;
    std::optional<double> seekTarget_;
    std::optional<Flight> flight_;
    std::uint64_t flights_ = 0;
    ConstPixelBufferRef picture_;

    ObserverList<TimeControlStatus> statusObservers_;
    ObserverList<double> jumpObservers_;
    ObserverList<const PlatformError&> failureObservers_;
    ObserverList<> pictureObservers_;
    PeriodicObservers periodicObservers_;
    std::unique_ptr<Timer> beatTimer_;
    // What other threads post asks this before it touches the player; so does what goes on after a callback.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace platform::mpv

#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Media/AudioOutput.hpp"
#include "Platform/Media/MediaService.hpp"
#include "Platform/Media/PicturePlayer.hpp"
#include "Platform/Media/Player.hpp"
#include "Platform/Media/PlayerObservers.hpp"
#include "Platform/Media/SoundFeed.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// A player whose clock is what the speaker plays. Where nothing is played (muted, no speaker, no server),
/// the host's clock goes on in its place.
class MoviePlayer final : public ObservablePlayer {
  public:
    /// What is left of a player is destroyed on `endings`, because that waits for its threads. `outputs` may
    /// be null: then there is no sound.
    MoviePlayer(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
                std::shared_ptr<MediaService> media, std::shared_ptr<AudioOutputService> outputs,
                std::shared_ptr<SerialQueue> endings);
    ~MoviePlayer() override;

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
    void setPictureSize(int width, int height) override { pictures().setSize(width, height); }
    ConstPixelBufferRef picture() const override { return picture_; }

  private:
    /// What threads other than the main one work with.
    struct Machinery {
        std::unique_ptr<PicturePlayer> pictures;
        std::unique_ptr<SoundFeed> feed;
        std::unique_ptr<AudioOutput> output;  // made when there is something to hear; ends before the feed
    };
    /// A seek that the pictures have been sent on.
    struct Flight {
        std::uint64_t number;
        double target;
    };

    PicturePlayer& pictures() { return *machinery_->pictures; }
    SoundFeed& feed() { return *machinery_->feed; }
    PicturePlayer::Events pictureEvents();

    void opened(std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound);
    void failed(std::uint64_t item, const PlatformError& error);
    void takePicture();
    void launch();
    void arrived(std::uint64_t flight);
    bool canMove() const { return duration_ && !flight_ && rate_ != 0; }
    void startMoving();
    void startSound();
    void silence();
    void syncToSound();
    void stop();
    void holdTime();
    void statusChanged();
    void setMotion(const Motion& motion);
    void standAt(double time) { setMotion({time, clock_->now(), 0}); }
    void scheduleBeat();
    void beat();

    std::shared_ptr<MainLoop> loop_;
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<AudioOutputService> outputs_;
    std::shared_ptr<SerialQueue> endings_;
    std::unique_ptr<Machinery> machinery_;

    std::uint64_t item_ = 0;           // counts items; 0 before the first
    std::optional<double> duration_;   // absent until the item is open
    std::shared_ptr<AudioMix> sound_;  // of the item, until the feed has it
    bool muted_ = false;
    bool broken_ = false;  // the item could not be opened; it does not play
    double rate_ = 0;      // as asked for; time moves when `motion_` does
    Motion motion_;
    double movedFrom_ = 0;  // where motion began: sound that is heard later does not turn time back
    std::optional<double> seekTarget_;
    std::optional<Flight> flight_;
    std::uint64_t flights_ = 0;
    ConstPixelBufferRef picture_;

    std::unique_ptr<Timer> beatTimer_;
    std::unique_ptr<Timer> patienceTimer_;
    std::unique_ptr<Timer> soundTimer_;
    Lifetime lifetime_;
};

/// Players of the media service's pictures and sound. Main thread.
std::shared_ptr<PlayerService> makeMoviePlayerService(std::shared_ptr<MainLoop> loop,
                                                      std::shared_ptr<Clock> clock,
                                                      std::shared_ptr<MediaService> media,
                                                      std::shared_ptr<AudioOutputService> outputs);

}  // namespace platform

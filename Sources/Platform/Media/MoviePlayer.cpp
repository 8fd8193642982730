#include "Platform/Media/MoviePlayer.hpp"

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

// A larger difference from the sound is taken over at once, a smaller one little by little, so that pictures
// keep their rhythm.
constexpr double largestSlew = 0.06;
constexpr double slewShare = 0.2;
// Sound that has not begun by then does not keep the pictures waiting, seconds.
constexpr double patienceWithSound = 0.3;
// How often the sound's time is looked at, seconds.
constexpr double lookInterval = 0.02;

}  // namespace

MoviePlayer::MoviePlayer(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
                         std::shared_ptr<MediaService> media, std::shared_ptr<AudioOutputService> outputs,
                         std::shared_ptr<SerialQueue> endings)
    : loop_(std::move(loop)),
      clock_(std::move(clock)),
      outputs_(std::move(outputs)),
      endings_(std::move(endings)),
      machinery_(std::make_unique<Machinery>()) {
    machinery_->pictures = std::make_unique<PicturePlayer>(std::move(media), clock_, pictureEvents());
}

MoviePlayer::~MoviePlayer() {
    pictures().stop();
    // Copyable, as a queue's work must be; without room there the destruction happens here.
    std::shared_ptr<Machinery> rest = std::move(machinery_);
    endings_->async([rest = std::move(rest)] {});
}

PicturePlayer::Events MoviePlayer::pictureEvents() {
    const auto onMain = [this, loop = loop_, alive = lifetime_.watch()](auto handler) {
        loop->post([this, alive, handler = std::move(handler)] {
            if (alive) handler(*this);
        });
    };
    using Self = MoviePlayer;
    return {
        .opened =
            [onMain](std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound) {
                onMain([=](Self& self) { self.opened(item, duration, sound); });
            },
        .failed = [onMain](
                      std::uint64_t item,
                      const PlatformError& error) { onMain([=](Self& self) { self.failed(item, error); }); },
        .arrived = [onMain](std::uint64_t flight) { onMain([=](Self& self) { self.arrived(flight); }); },
        .drawn = [onMain] { onMain([](Self& self) { self.takePicture(); }); },
    };
}

void MoviePlayer::replaceCurrentItem(PlayerItem item) {
    ++item_;
    duration_.reset();
    picture_.reset();
    broken_ = false;
    seekTarget_.reset();
    flight_.reset();
    silence();
    sound_.reset();
    if (machinery_->feed) feed().open(nullptr);
    pictures().open(std::move(item), item_);
    const bool played = std::exchange(rate_, 0) != 0;
    standAt(0);
    if (played) statusChanged();
}

void MoviePlayer::opened(std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound) {
    if (item != item_) return;
    duration_ = duration;
    sound_ = std::move(sound);
    if (seekTarget_) {
        seekTarget_ = std::min(*seekTarget_, duration);
        launch();
    } else {
        startMoving();
    }
}

void MoviePlayer::failed(std::uint64_t item, const PlatformError& error) {
    if (item != item_) return;
    if (!duration_) broken_ = true;
    const auto alive = lifetime_.watch();
    stop();
    if (alive) failureObservers_.notify(error);
}

void MoviePlayer::takePicture() {
    auto [picture, item] = pictures().takePicture();
    if (!picture || item != item_) return;
    picture_ = std::move(picture);
    pictureObservers_.notify();
}

void MoviePlayer::setMuted(bool muted) {
    if (muted == muted_) return;
    holdTime();
    silence();
    muted_ = muted;
    startMoving();
}

void MoviePlayer::setRate(double rate) {
    rate = broken_ ? 0 : std::max(rate, 0.0);
    if (rate == rate_) return;
    const bool statusChanges = (rate == 0) != (rate_ == 0);
    holdTime();
    silence();
    rate_ = rate;
    startMoving();
    if (statusChanges) statusChanged();
}

double MoviePlayer::currentTime() const {
    if (seekTarget_) return *seekTarget_;
    const double time = std::max(motion_.timeAt(clock_->now()), movedFrom_);
    return std::clamp(time, 0.0, duration_.value_or(std::max(time, 0.0)));
}

void MoviePlayer::seek(double seconds, double) {
    if (!hasCurrentItem() || std::isnan(seconds)) return;
    seekTarget_ = std::clamp(seconds, 0.0, duration_.value_or(std::max(seconds, 0.0)));
    if (duration_ && !flight_) launch();
}

/// Sends the pictures to the target. Playback stands until they are there.
void MoviePlayer::launch() {
    const double target = *seekTarget_;
    flight_ = Flight{++flights_, target};
    silence();
    pictures().seek(target, flight_->number);
    standAt(target);  // only now, or the pictures would be read through to there
}

void MoviePlayer::arrived(std::uint64_t flight) {
    if (!flight_ || flight_->number != flight) return;
    const double reached = flight_->target;
    flight_.reset();
    if (*seekTarget_ != reached) {
        launch();
        return;
    }
    seekTarget_.reset();
    standAt(reached);
    startMoving();
    const auto alive = lifetime_.watch();
    jumpObservers_.notify(reached);
    if (alive) periodicObservers_.jump(currentTime());
}

/// Lets time go on from where it stands: with the sound, once it is heard, or with the host's clock.
void MoviePlayer::startMoving() {
    if (!canMove()) return;
    if (rate_ == 1 && !muted_ && outputs_) {
        startSound();
        patienceTimer_ = loop_->scheduleOnce(patienceWithSound, [this] {
            if (!canMove() || motion_.rate != 0) return;
            setMotion({motion_.time, clock_->now(), rate_});
            feed().onMotion(motion_);
        });
    } else {
        setMotion({motion_.time, clock_->now(), rate_});
    }
}

void MoviePlayer::startSound() {
    if (!machinery_->output) {
        machinery_->feed = std::make_unique<SoundFeed>();
        machinery_->output = outputs_->makeOutput(
            [feed = machinery_->feed.get()](auto target, double heardAt) { feed->render(target, heardAt); });
    }
    if (sound_) feed().open(std::exchange(sound_, nullptr));
    feed().play(motion_.time);
    machinery_->output->setActive(true);
    soundTimer_ = loop_->scheduleRepeating(lookInterval, [this] { syncToSound(); });
}

void MoviePlayer::silence() {
    patienceTimer_.reset();
    soundTimer_.reset();
    if (machinery_->feed) feed().pause();
    if (machinery_->output) machinery_->output->setActive(false);
}

void MoviePlayer::syncToSound() {
    if (!canMove()) return;
    const auto sound = feed().motion();
    if (!sound) return;
    if (motion_.rate == 0) {
        setMotion(*sound);
        return;
    }
    const double now = clock_->now(), difference = sound->timeAt(now) - motion_.timeAt(now);
    const double step = std::abs(difference) > largestSlew ? difference : difference * slewShare;
    setMotion({motion_.timeAt(now) + step, now, rate_});
}

/// Playback stops by itself: at the end, or because it cannot go on.
void MoviePlayer::stop() {
    if (rate_ == 0) return;
    holdTime();
    silence();
    rate_ = 0;
    statusChanged();
}

void MoviePlayer::holdTime() {
    if (!seekTarget_) standAt(currentTime());
}

void MoviePlayer::statusChanged() {
    const auto alive = lifetime_.watch();
    statusObservers_.notify(timeControlStatus());
    if (alive) periodicObservers_.jump(currentTime());
}

void MoviePlayer::setMotion(const Motion& motion) {
    if (motion_.rate == 0 || motion.rate == 0) movedFrom_ = motion.time;
    motion_ = motion;
    pictures().setMotion(motion_);
    scheduleBeat();
}

std::unique_ptr<Observation> MoviePlayer::addPeriodicTimeObserver(double interval, TimeHandler handler) {
    auto observation = periodicObservers_.add(interval, currentTime(), std::move(handler));
    scheduleBeat();
    return observation;
}

/// Sets the timer for the next thing that happens while time goes on: somebody to be called, or the end.
void MoviePlayer::scheduleBeat() {
    beatTimer_.reset();
    if (motion_.rate == 0 || !duration_) return;
    const double next = std::min(periodicObservers_.nextDue(), *duration_);
    const double wait = (next - motion_.timeAt(clock_->now())) / motion_.rate;
    beatTimer_ = loop_->scheduleOnce(std::max(0.0, wait), [this] { beat(); });
}

void MoviePlayer::beat() {
    if (motion_.timeAt(clock_->now()) >= *duration_ - 1e-6) {
        standAt(*duration_);
        stop();
        return;
    }
    const auto alive = lifetime_.watch();
    periodicObservers_.advance(currentTime());
    if (alive) scheduleBeat();
}

namespace {

class MoviePlayerService final : public PlayerService {
  public:
    MoviePlayerService(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
                       std::shared_ptr<MediaService> media, std::shared_ptr<AudioOutputService> outputs)
        : loop_(std::move(loop)),
          clock_(std::move(clock)),
          media_(std::move(media)),
          outputs_(std::move(outputs)),
          endings_(std::make_shared<SerialQueue>("player.endings")) {}

    std::unique_ptr<Player> makePlayer() override {
        return std::make_unique<MoviePlayer>(loop_, clock_, media_, outputs_, endings_);
    }

  private:
    std::shared_ptr<MainLoop> loop_;
    std::shared_ptr<Clock> clock_;
    std::shared_ptr<MediaService> media_;
    std::shared_ptr<AudioOutputService> outputs_;
    std::shared_ptr<SerialQueue> endings_;  // last, so that it ends before what it uses
};

}  // namespace

std::shared_ptr<PlayerService> makeMoviePlayerService(std::shared_ptr<MainLoop> loop,
                                                      std::shared_ptr<Clock> clock,
                                                      std::shared_ptr<MediaService> media,
                                                      std::shared_ptr<AudioOutputService> outputs) {
    return std::make_shared<MoviePlayerService>(std::move(loop), std::move(clock), std::move(media),
                                                std::move(outputs));
}

}  // namespace platform

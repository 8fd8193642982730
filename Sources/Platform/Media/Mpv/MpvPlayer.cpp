#include "Platform/Media/Mpv/MpvPlayer.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>

namespace platform::mpv {
namespace {

// What replies are told apart by; the low bits of a load's hold the item's number.
constexpr std::uint64_t seekReply = 1;
constexpr std::uint64_t loadReply = std::uint64_t{1} << 63;

// The sound's own time is known to some milliseconds. A larger difference is taken over at once, a smaller
// one little by little, so that pictures keep their rhythm.
constexpr double largestSlew = 0.06;
constexpr double slewShare = 0.2;

std::string nameOf(const PlayerItem& item) {
    if (const auto* path = std::get_if<std::filesystem::path>(&item)) return path->string();
    for (const auto& track : std::get<Composition>(item).tracks())
        for (const auto& segment : track.segments()) return segment.asset->path().string();
    return "an empty composition";
}

std::int64_t entryOf(const mpv_node& result) {
    if (result.format != MPV_FORMAT_NODE_MAP) return 0;
    for (int i = 0; i < result.u.list->num; ++i)
        if (std::strcmp(result.u.list->keys[i], "playlist_entry_id") == 0)
            return result.u.list->values[i].u.int64;
    return 0;
}

std::string decimal(double seconds) {
    std::array<char, 64> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

}  // namespace

MpvPlayer::MpvPlayer(std::shared_ptr<MainLoop> loop, std::shared_ptr<Clock> clock,
                     std::shared_ptr<MediaService> media, std::shared_ptr<SerialQueue> endings)
    : loop_(std::move(loop)),
      clock_(std::move(clock)),
      endings_(std::move(endings)),
      machinery_(std::make_unique<Machinery>()) {
    Machinery& machinery = *machinery_;
    machinery.loop = loop_;
    machinery.wakeup = onMain(&MpvPlayer::drainEvents);
    machinery.handle = makeHandle();
    machinery.stream.registerWith(handle());
    machinery.pictures = std::make_unique<PicturePlayer>(std::move(media), clock_, pictureEvents());
    mpv_observe_property(handle(), 0, "core-idle", MPV_FORMAT_FLAG);
    mpv_observe_property(handle(), 0, "time-pos", MPV_FORMAT_DOUBLE);
    mpv_set_wakeup_callback(
        handle(),
        [](void* context) {
            auto& own = *static_cast<Machinery*>(context);
            if (own.wakeupPosted.exchange(true)) return;
            try {
                own.loop->post(own.wakeup);
            } catch (const std::exception&) {
                own.wakeupPosted = false;
            }
        },
        &machinery);
}

MpvPlayer::~MpvPlayer() {
    *alive_ = false;
    pictures().stop();
    // Copyable, as a queue's work must be; without room there the destruction happens here.
    std::shared_ptr<Machinery> rest = std::move(machinery_);
    endings_->async([rest = std::move(rest)] {});
}

/// A function for other threads to post: it calls the method unless the player has gone.
std::function<void()> MpvPlayer::onMain(void (MpvPlayer::*method)()) {
    return [this, method, alive = alive_] {
        if (*alive) (this->*method)();
    };
}

PicturePlayer::Events MpvPlayer::pictureEvents() {
    return {
        .opened =
            [this, loop = loop_, alive = alive_](std::uint64_t item, double duration,
                                                 std::shared_ptr<AudioMix> sound) {
                loop->post([this, alive, item, duration, sound = std::move(sound)] {
                    if (*alive) opened(item, duration, sound);
                });
            },
        .failed =
            [this, loop = loop_, alive = alive_](std::uint64_t item, const PlatformError& error) {
                loop->post([this, alive, item, error] {
                    if (*alive) failed(item, error);
                });
            },
        .arrived =
            [this, loop = loop_, alive = alive_](std::uint64_t number) {
                loop->post([this, alive, number] {
                    if (!*alive || !flight_ || flight_->number != number) return;
                    flight_->pictureArrived = true;
                    checkArrival();
                });
            },
        .drawn = [loop = loop_, take = onMain(&MpvPlayer::takePicture)] { loop->post(take); },
    };
}

void MpvPlayer::replaceCurrentItem(PlayerItem item) {
    ++item_;
    itemName_ = nameOf(item);
    duration_.reset();
    picture_.reset();
    soundEntry_ = 0;
    soundLoaded_ = broken_ = false;
    seekTarget_.reset();
    flight_.reset();
    setPaused(true);
    const std::array<const char*, 2> command{"stop", nullptr};
    mpv_command_async(handle(), 0, const_cast<const char**>(command.data()));
    pictures().open(std::move(item), item_);
    const bool played = std::exchange(rate_, 0) != 0;
    setMotion(0, 0);
    if (played) statusChanged();
}

void MpvPlayer::opened(std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound) {
    if (item != item_) return;
    duration_ = duration;
    machinery_->stream.serve(item, std::move(sound));
    const std::string address = SoundStream::address(item);
    const std::array<const char*, 3> command{"loadfile", address.c_str(), nullptr};
    mpv_command_async(handle(), loadReply | item, const_cast<const char**>(command.data()));
    if (seekTarget_) seekTarget_ = std::min(*seekTarget_, duration);
}

void MpvPlayer::failed(std::uint64_t item, const PlatformError& error) {
    if (item != item_) return;
    if (!soundLoaded_) broken_ = true;
    const auto alive = alive_;
    stop();
    if (*alive) failureObservers_.notify(error);
}

void MpvPlayer::takePicture() {
    auto [picture, item] = pictures().takePicture();
    if (!picture || item != item_) return;
    picture_ = std::move(picture);
    pictureObservers_.notify();
}

void MpvPlayer::setMuted(bool muted) {
    int flag = muted ? 1 : 0;
    mpv_set_property_async(handle(), 0, "mute", MPV_FORMAT_FLAG, &flag);
}

void MpvPlayer::setRate(double rate) {
    rate = broken_ ? 0 : std::max(rate, 0.0);
    if (rate == rate_) return;
    const bool statusChanges = (rate == 0) != (rate_ == 0);
    holdTime();
    rate_ = rate;
    if (rate == 0) {
        setPaused(true);
    } else {
        mpv_set_property_async(handle(), 0, "speed", MPV_FORMAT_DOUBLE, &rate);
        startMoving();
    }
    if (statusChanges) statusChanged();
}

double MpvPlayer::currentTime() const {
    if (seekTarget_) return *seekTarget_;
    const double time = motion_.timeAt(clock_->now());
    return std::clamp(time, 0.0, duration_.value_or(std::max(time, 0.0)));
}

void MpvPlayer::seek(double seconds, double) {
    if (!hasCurrentItem() || std::isnan(seconds)) return;
    seekTarget_ = std::clamp(seconds, 0.0, duration_.value_or(std::max(seconds, 0.0)));
    if (soundLoaded_ && !flight_) launch();
}

/// Sends sound and pictures to the target. Playback stands until both are there.
void MpvPlayer::launch() {
    const double target = *seekTarget_;
    flight_ = Flight{++flights_, target};
    setPaused(true);
    pictures().seek(target, flight_->number);
    setMotion(target, 0);  // only now, or the pictures would be read through to there
    const std::string seconds = decimal(target);
    const std::array<const char*, 4> command{"seek", seconds.c_str(), "absolute+exact", nullptr};
    mpv_command_async(handle(), seekReply, const_cast<const char**>(command.data()));
}

void MpvPlayer::checkArrival() {
    if (!flight_ || !flight_->soundArrived || !flight_->pictureArrived) return;
    const double reached = flight_->target;
    flight_.reset();
    if (*seekTarget_ != reached) {
        launch();
        return;
    }
    seekTarget_.reset();
    setMotion(reached, 0);
    if (rate_ != 0) startMoving();
    const auto alive = alive_;
    jumpObservers_.notify(reached);
    if (*alive) periodicObservers_.jump(currentTime());
}

/// Lets the sound go on; the time follows once it does.
void MpvPlayer::startMoving() {
    if (!soundLoaded_ || flight_) return;
    setPaused(false);
}

void MpvPlayer::soundLoaded() {
    soundLoaded_ = true;
    if (seekTarget_)
        launch();
    else if (rate_ != 0)
        startMoving();
}

void MpvPlayer::soundMoves(bool moves) {
    if (!soundLoaded_ || flight_ || rate_ == 0) return;
    setMotion(currentTime(), moves ? rate_ : 0);
}

void MpvPlayer::followSound(double seconds) {
    if (!soundLoaded_ || flight_ || rate_ == 0) return;
    if (motion_.rate == 0) {
        // Of a short pause the library may not tell that it is over.
        if (seconds > motion_.time && seconds < motion_.time + 1) setMotion(seconds, rate_);
        return;
    }
    const double now = clock_->now(), difference = seconds - motion_.timeAt(now);
    const double step = std::abs(difference) > largestSlew ? difference : difference * slewShare;
    setMotion(motion_.timeAt(now) + step, motion_.rate);
}

/// Playback stops by itself: at the end, or because it cannot go on.
void MpvPlayer::stop() {
    if (rate_ == 0) return;
    holdTime();
    rate_ = 0;
    setPaused(true);
    statusChanged();
}

void MpvPlayer::holdTime() {
    if (!seekTarget_) setMotion(currentTime(), 0);
}

void MpvPlayer::statusChanged() {
    const auto alive = alive_;
    statusObservers_.notify(timeControlStatus());
    if (*alive) periodicObservers_.jump(currentTime());
}

void MpvPlayer::setMotion(double time, double rate) {
    motion_ = {time, clock_->now(), rate};
    pictures().setMotion(motion_);
    scheduleBeat();
}

void MpvPlayer::setPaused(bool paused) {
    int flag = paused ? 1 : 0;
    mpv_set_property_async(handle(), 0, "pause", MPV_FORMAT_FLAG, &flag);
}

std::unique_ptr<Observation> MpvPlayer::addPeriodicTimeObserver(double interval, TimeHandler handler) {
    auto observation = periodicObservers_.add(interval, currentTime(), std::move(handler));
    scheduleBeat();
    return observation;
}

/// Sets the timer for the next thing that happens while time goes on: somebody to be called, or the end.
void MpvPlayer::scheduleBeat() {
    beatTimer_.reset();
    if (motion_.rate == 0 || !duration_) return;
    const double next = std::min(periodicObservers_.nextDue(), *duration_);
    const double wait = (next - motion_.timeAt(clock_->now())) / motion_.rate;
    beatTimer_ = loop_->scheduleOnce(std::max(0.0, wait), [this] { beat(); });
}

void MpvPlayer::beat() {
    if (motion_.timeAt(clock_->now()) >= *duration_ - 1e-6) {
        setMotion(*duration_, 0);
        stop();
        return;
    }
    const auto alive = alive_;
    periodicObservers_.advance(currentTime());
    if (*alive) scheduleBeat();
}

void MpvPlayer::drainEvents() {
    machinery_->wakeupPosted = false;
    const auto alive = alive_;
    while (*alive) {
        const mpv_event* event = mpv_wait_event(handle(), 0);
        if (event->event_id == MPV_EVENT_NONE) return;
        handleEvent(*event);
    }
}

void MpvPlayer::handleEvent(const mpv_event& event) {
    switch (event.event_id) {
        case MPV_EVENT_COMMAND_REPLY:
            handleReply(event);
            break;
        case MPV_EVENT_START_FILE:
            startedEntry_ = static_cast<const mpv_event_start_file*>(event.data)->playlist_entry_id;
            break;
        case MPV_EVENT_FILE_LOADED:
            if (soundEntry_ != 0 && startedEntry_ == soundEntry_) soundLoaded();
            break;
        case MPV_EVENT_SEEK:
            if (flight_) flight_->soundLeft = true;
            break;
        case MPV_EVENT_PLAYBACK_RESTART:
            if (!flight_ || !flight_->soundLeft) break;
            flight_->soundArrived = true;
            checkArrival();
            break;
        case MPV_EVENT_PROPERTY_CHANGE:
            handleProperty(*static_cast<const mpv_event_property*>(event.data));
            break;
        case MPV_EVENT_END_FILE:
            handleSoundEnd(*static_cast<const mpv_event_end_file*>(event.data));
            break;
        default:
            break;
    }
}

void MpvPlayer::handleReply(const mpv_event& event) {
    if (event.reply_userdata == seekReply && event.error < 0 && flight_) {
        flight_->soundArrived = true;  // there is nothing to wait for
        checkArrival();
    } else if (event.reply_userdata == (loadReply | item_)) {
        if (event.error < 0)
            failed(item_, libraryError(event.error, "The sound of " + itemName_ + " cannot be played"));
        else
            soundEntry_ = entryOf(static_cast<const mpv_event_command*>(event.data)->result);
    }
}

void MpvPlayer::handleProperty(const mpv_event_property& property) {
    if (property.format == MPV_FORMAT_DOUBLE) {
        followSound(*static_cast<const double*>(property.data));
    } else if (property.format == MPV_FORMAT_FLAG) {
        soundMoves(*static_cast<const int*>(property.data) == 0);
    }
}

void MpvPlayer::handleSoundEnd(const mpv_event_end_file& end) {
    if (end.reason != MPV_END_FILE_REASON_ERROR || soundEntry_ == 0 || end.playlist_entry_id != soundEntry_)
        return;
    failed(item_, libraryError(end.error, "The sound of " + itemName_ + " cannot be played"));
}

}  // namespace platform::mpv

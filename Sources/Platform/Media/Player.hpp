#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Media/Composition.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace platform {

/// What a player plays: a movie file with its own sound, or a composition, whose first video track is shown
/// as it lies and whose audio tracks are summed.
using PlayerItem = std::variant<std::filesystem::path, Composition>;

/// Something observed; destroying it ends the observation, and its callback is never called again.
class Observation {
  public:
    virtual ~Observation() = default;
};

/// Plays one item at a time. Main thread, and every callback comes on the main thread; no operation waits
/// for the disk or a decoder. Times are seconds on the item's timeline.
class Player {
  public:
    enum class TimeControlStatus { paused, playing };
    using TimeHandler = std::function<void(double seconds)>;
    using ErrorHandler = std::function<void(const PlatformError&)>;

    virtual ~Player() = default;

    /// Takes an item in place of the one before, paused at its beginning.
    virtual void replaceCurrentItem(PlayerItem item) = 0;
    virtual bool hasCurrentItem() const = 0;
    virtual void setMuted(bool muted) = 0;

    /// 0 pauses, 1 plays at normal speed. At the end of the item the rate becomes 0 by itself.
    virtual void setRate(double rate) = 0;
    virtual double rate() const = 0;
    virtual TimeControlStatus timeControlStatus() const = 0;
    /// Where playback is; the target of the last seek while that is still under way.
    virtual double currentTime() const = 0;
    /// The item's length; absent until it is known.
    virtual std::optional<double> duration() const = 0;

    /// Goes to a time, at most `tolerance` seconds off it on either side; 0 is exact to the frame. A seek
    /// that is still under way gives way to the newer one. Before the item is open it is kept and done then.
    virtual void seek(double seconds, double tolerance) = 0;

    /// Called every `interval` seconds of playing time, and after a jump or a start or stop of playback.
    virtual std::unique_ptr<Observation> addPeriodicTimeObserver(double interval, TimeHandler handler) = 0;
    /// Called after playback started or stopped.
    virtual std::unique_ptr<Observation> observeTimeControlStatus(
        std::function<void(TimeControlStatus)> handler) = 0;
    /// Called when a seek has arrived.
    virtual std::unique_ptr<Observation> observeTimeJumped(TimeHandler handler) = 0;
    /// Called when the item cannot be opened or played; the message names the file.
    virtual std::unique_ptr<Observation> observeFailure(ErrorHandler handler) = 0;

    /// The largest size, in pixels, in which pictures are wanted; they keep the movie's shape inside it.
    virtual void setPictureSize(int width, int height) = 0;
    /// Called after each new picture, at most once for several that came together.
    virtual std::unique_ptr<Observation> observePictures(std::function<void()> handler) = 0;
    /// The picture now shown (bgra, opaque); null before the first one. Stays the same object until a new
    /// one is drawn.
    virtual ConstPixelBufferRef picture() const = 0;
};

/// Makes players. Main thread.
class PlayerService {
  public:
    virtual ~PlayerService() = default;
    virtual std::unique_ptr<Player> makePlayer() = 0;
};

}  // namespace platform

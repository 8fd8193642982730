#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Imaging/Resampler.hpp"
#include "Platform/Media/AssetReader.hpp"
#include "Platform/Media/Motion.hpp"
#include "Platform/Media/PlayableItem.hpp"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace platform {

/// The pictures of a player: opens items, decodes, and draws each frame when its time has come, on a thread
/// of its own. Frames that come too late are left out. Requests return at once; any thread, one at a time.
class PicturePlayer {
  public:
    /// What happened, told on the picture thread; a callback must not throw or wait. Of several items or
    /// seeks asked for in a row only the last is sure to be answered.
    struct Events {
        /// The item is open; the sound is handed over.
        std::function<void(std::uint64_t item, double duration, std::shared_ptr<AudioMix> sound)> opened;
        /// The item cannot be opened, or nothing at a seek's target can be decoded.
        std::function<void(std::uint64_t item, const PlatformError& error)> failed;
        /// The frame at the seek's target is drawn, or there is none to draw.
        std::function<void(std::uint64_t seek)> arrived;
        /// There is a picture to take. Not told again before `takePicture`.
        std::function<void()> drawn;
    };

    PicturePlayer(std::shared_ptr<MediaService> media, std::shared_ptr<Clock> clock, Events events);
    /// Stops and waits for the thread: at most for a file being opened or a picture being drawn.
    ~PicturePlayer();
    PicturePlayer(const PicturePlayer&) = delete;
    PicturePlayer& operator=(const PicturePlayer&) = delete;

    /// Takes an item in place of the one before; shows its first frame.
    void open(PlayerItem item, std::uint64_t number);
    /// Goes to the frame on screen at `seconds`, or to the first one when there is none yet.
    void seek(double seconds, std::uint64_t number);
    void setMotion(const Motion& motion);
    /// Pictures fill this many pixels as far as their shape allows, but not more than the movie has.
    void setSize(int width, int height);
    /// The latest picture (bgra, opaque) and the item it is of; null when none came since the last call.
    std::pair<ConstPixelBufferRef, std::uint64_t> takePicture();
    /// Makes the thread end soon. No callback begins afterwards.
    void stop();

  private:
    struct Frame {
        double time;  // on the item's timeline
        ConstPixelBufferRef image;
    };
    struct Target {
        double seconds;
        std::uint64_t number;
    };

    void run();
    void perform(std::unique_lock<std::mutex>& lock);
    bool isDue(const Motion& motion) const;
    void openItem(const PlayerItem& item);
    void goTo(double seconds);
    void startReader(double sourceSeconds);
    void dropReader();
    std::optional<Frame> nextFrame();
    void advanceTo(double seconds);
    void draw();
    void report(const PlatformError& error);

    const std::shared_ptr<MediaService> media_;
    const std::shared_ptr<Clock> clock_;
    const Events events_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool stopped_ = false;                     // from here on: guarded by the mutex
    std::optional<PlayerItem> requestedItem_;  //
    std::uint64_t requestedNumber_ = 0;        //
    std::optional<Target> target_;             //
    Motion motion_;                            //
    int width_ = 0;                            // 0: as large as the movie
    int height_ = 0;                           //
    bool sizeChanged_ = false;                 //
    std::shared_ptr<AssetReader> reader_;      // made and used by the thread, cancelled by others
    ConstPixelBufferRef picture_;              // drawn and not yet taken
    std::uint64_t pictureItem_ = 0;            // to here

    std::uint64_t item_ = 0;  // the thread's own
    std::optional<Composition::Segment> source_;
    std::optional<Frame> current_;
    std::optional<Frame> next_;
    Resampler resampler_;
    std::optional<PixelBufferPool> pool_;
    NamedThread thread_;
};

}  // namespace platform

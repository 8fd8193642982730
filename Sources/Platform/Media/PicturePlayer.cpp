#include "Platform/Media/PicturePlayer.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

namespace platform {
namespace {

// Going ahead by up to this much is read through; anything farther is sought.
constexpr double readThroughSeconds = 1;
// Pictures that are recycled: one shown, one waiting to be taken, one being drawn, and some that observers
// still look at.
constexpr std::size_t picturesKept = 6;
// Times computed with compositions' offsets miss a frame's own time by rounding.
constexpr double slack = 1e-6;

}  // namespace

PicturePlayer::PicturePlayer(std::shared_ptr<MediaService> media, std::shared_ptr<Clock> clock, Events events)
    : media_(std::move(media)),
      clock_(std::move(clock)),
      events_(std::move(events)),
      thread_("player.pictures", [this] { run(); }) {}

PicturePlayer::~PicturePlayer() {
    stop();
    thread_.join();
}

void PicturePlayer::stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    if (reader_) reader_->cancelReading();
    changed_.notify_all();
}

void PicturePlayer::open(PlayerItem item, std::uint64_t number) {
    const std::lock_guard lock(mutex_);
    requestedItem_ = std::move(item);
    requestedNumber_ = number;
    target_.reset();
    motion_ = {};
    picture_.reset();
    if (reader_) reader_->cancelReading();
    changed_.notify_all();
}

void PicturePlayer::seek(double seconds, std::uint64_t number) {
    const std::lock_guard lock(mutex_);
    target_ = {seconds, number};
    changed_.notify_all();
}

void PicturePlayer::setMotion(const Motion& motion) {
    const std::lock_guard lock(mutex_);
    motion_ = motion;
    changed_.notify_all();
}

void PicturePlayer::setSize(int width, int height) {
    const std::lock_guard lock(mutex_);
    if (width == width_ && height == height_) return;
    width_ = width;
    height_ = height;
    sizeChanged_ = true;
    changed_.notify_all();
}

std::pair<ConstPixelBufferRef, std::uint64_t> PicturePlayer::takePicture() {
    const std::lock_guard lock(mutex_);
    return {std::exchange(picture_, nullptr), pictureItem_};
}

void PicturePlayer::run() {
    std::unique_lock lock(mutex_);
    while (!stopped_) {
        try {
            perform(lock);
        } catch (const PlatformError& error) {
            if (lock.owns_lock()) lock.unlock();
            report(error);
        } catch (const std::exception& problem) {
            if (lock.owns_lock()) lock.unlock();
            report(PlatformError("Player", 3, std::string("Playback failed: ") + problem.what() + "."));
        }
        if (!lock.owns_lock()) lock.lock();
    }
}

/// Does the one thing that is most urgent, without the lock, or waits for something to do.
void PicturePlayer::perform(std::unique_lock<std::mutex>& lock) {
    if (requestedItem_) {
        const PlayerItem item = *std::exchange(requestedItem_, std::nullopt);
        item_ = requestedNumber_;
        lock.unlock();
        openItem(item);
    } else if (target_) {
        const Target target = *std::exchange(target_, std::nullopt);
        lock.unlock();
        try {
            goTo(target.seconds);
        } catch (...) {
            events_.arrived(target.number);
            throw;
        }
        events_.arrived(target.number);
    } else if (std::exchange(sizeChanged_, false)) {
        lock.unlock();
        draw();
    } else if (isDue(motion_)) {
        const double now = motion_.timeAt(clock_->now());
        lock.unlock();
        advanceTo(now);
        draw();
    } else if (next_ && motion_.rate > 0) {
        const double wait = (next_->time - motion_.timeAt(clock_->now())) / motion_.rate;
        changed_.wait_for(lock, std::chrono::duration<double>(wait));
    } else {
        changed_.wait(lock);
    }
}

bool PicturePlayer::isDue(const Motion& motion) const {
    return next_ && next_->time <= motion.timeAt(clock_->now()) + slack;
}

void PicturePlayer::openItem(const PlayerItem& item) {
    dropReader();
    source_.reset();
    PlayableItem opened = openPlayableItem(*media_, item);
    source_ = std::move(opened.pictures);
    events_.opened(item_, opened.duration, std::move(opened.sound));
    goTo(0);
}

void PicturePlayer::goTo(double seconds) {
    if (!source_) return;
    const bool readOn = current_ && current_->time <= seconds + slack &&
                        (!next_ || seconds - current_->time <= readThroughSeconds || next_->time > seconds);
    if (!readOn) {
        const double source = source_->source.start + seconds - source_->start;
        // The last frame stays on screen to the end of the item.
        startReader(std::clamp(source, source_->source.start, source_->source.end - slack));
        current_ = nextFrame();
        if (!current_)
            if (const auto error = reader_->error()) throw PlatformError(*error);
        next_ = nextFrame();
    }
    advanceTo(seconds);
    draw();
}

void PicturePlayer::startReader(double sourceSeconds) {
    dropReader();
    std::shared_ptr<AssetReader> reader = media_->makeTrackReader(
        source_->asset, source_->track, {sourceSeconds, source_->source.end}, PixelFormat::i420);
    if (!reader->startReading())
        throw reader->error().value_or(PlatformError(
            "Player", 3, "The movie " + source_->asset->path().string() + " cannot be decoded."));
    const std::lock_guard lock(mutex_);
    if (stopped_ || requestedItem_) reader->cancelReading();
    reader_ = std::move(reader);
}

void PicturePlayer::dropReader() {
    std::shared_ptr<AssetReader> ended;  // its thread is waited for without the lock
    {
        const std::lock_guard lock(mutex_);
        ended.swap(reader_);
    }
    current_.reset();
    next_.reset();
}

/// The next frame of the reader; absent at the end and where the file is damaged from there on.
std::optional<PicturePlayer::Frame> PicturePlayer::nextFrame() {
    if (!reader_) return std::nullopt;
    while (const auto sample = reader_->copyNextSampleBuffer())
        if (sample->image)
            return Frame{sample->presentationTime.seconds() - source_->source.start + source_->start,
                         sample->image};
    return std::nullopt;
}

/// Makes the frame on screen at `seconds` the current one; the time may go on meanwhile.
void PicturePlayer::advanceTo(double seconds) {
    while (next_ && next_->time <= seconds + slack) {
        current_ = std::move(next_);
        next_ = nextFrame();
    }
}

void PicturePlayer::draw() {
    if (!current_) return;
    const PixelBuffer& image = *current_->image;
    int width = 0, height = 0;
    {
        const std::lock_guard lock(mutex_);
        width = width_ > 0 ? width_ : image.width();
        height = height_ > 0 ? height_ : image.height();
    }
    const double scale = std::min(
        {1.0, static_cast<double>(width) / image.width(), static_cast<double>(height) / image.height()});
    width = std::max(1, static_cast<int>(std::lround(image.width() * scale)));
    height = std::max(1, static_cast<int>(std::lround(image.height() * scale)));
    if (!pool_ || pool_->width() != width || pool_->height() != height)
        pool_.emplace(PixelFormat::bgra, width, height, picturesKept);
    PixelBufferRef picture = pool_->createPixelBuffer();
    if (!picture) picture = std::make_shared<PixelBuffer>(PixelFormat::bgra, width, height);
    resampler_.draw(image, boundsOf(image), *picture, boundsOf(*picture));
    bool first = false;
    {
        const std::lock_guard lock(mutex_);
        if (requestedItem_ || stopped_) return;
        first = !picture_;
        picture_ = picture;
        pictureItem_ = item_;
    }
    if (first) events_.drawn();
}

void PicturePlayer::report(const PlatformError& error) {
    {
        const std::lock_guard lock(mutex_);
        if (stopped_ || requestedItem_) return;
    }
    events_.failed(item_, error);
}

}  // namespace platform

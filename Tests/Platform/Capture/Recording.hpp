#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/FrameCounter.hpp"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform::test {

/// Red, green and blue of one pixel as 0xRRGGBB.
inline std::uint32_t colorAt(const PixelBuffer& picture, int x, int y) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel,
                picture.plane().data + static_cast<std::ptrdiff_t>(y) * picture.plane().stride + x * 4, 4);
    return pixel & 0xffffff;
}

/// What the rig's scene counts, in a picture of a whole desktop.
inline std::optional<std::uint32_t> counterIn(const PixelBuffer& picture, int desktopWidth,
                                              int desktopHeight) {
    return rig::readCounter(desktopWidth, desktopHeight, [&](double x, double y) {
        const std::uint32_t color =
            colorAt(picture, static_cast<int>(x * picture.width()), static_cast<int>(y * picture.height()));
        return static_cast<int>(color >> 8 & 0xff);
    });
}

inline StreamConfiguration configurationFor(int width, int height) {
    StreamConfiguration configuration;
    configuration.width = width;
    configuration.height = height;
    return configuration;
}

/// A running stream whose samples are looked at as they come.
class Recording {
  public:
    using Look = std::function<void(const PixelBuffer&, double time)>;

    /// `run`: what has to go on while the test waits, a main loop for instance.
    Recording(
        ScreenCaptureService& service, const ContentFilter& filter, const StreamConfiguration& configuration,
        Look look = {}, std::function<void()> run = [] {})
        : look_(std::move(look)), run_(std::move(run)), queue_("cobaltreel.screen.capture") {
        stream_ = service.makeStream(filter, configuration, [this](const PlatformError& error) {
            const std::lock_guard lock(mutex_);
            errors_.push_back(error);
        });
        stream_->addOutput(StreamOutputType::screen, queue_, [this](const CapturedSample& sample) {
            if (sample.status != FrameStatus::complete || !sample.buffer.isValid()) return;
            const double time = sample.buffer.presentationTime.seconds();
            if (look_) look_(*sample.buffer.image, time);
            const std::lock_guard lock(mutex_);
            if (!times_.empty() && time <= times_.back()) isMonotonic_ = false;
            times_.push_back(time);
            latest_ = sample.buffer.image;
            changed_.notify_all();
        });
        stream_->startCapture([this](const std::optional<PlatformError>& error) {
            const std::lock_guard lock(mutex_);
            if (error) startError_ = error->description();
            hasStarted_ = true;
        });
        wait([this] { return hasStarted_; });
    }
    ~Recording() { stop(); }

    /// Stops and waits until it has; false when it does not.
    bool stop() {
        if (!stream_) return true;
        stream_->stopCapture([this](const std::optional<PlatformError>&) {
            const std::lock_guard lock(mutex_);
            hasStopped_ = true;
        });
        if (!wait([this] { return hasStopped_; })) return false;
        stream_.reset();
        return true;
    }

    /// Waits until the newest picture satisfies `isRight`.
    bool waitForPicture(const std::function<bool(const PixelBuffer&)>& isRight) {
        std::size_t looked = 0;
        return wait(
            [&] { return std::exchange(looked, times_.size()) != times_.size() && isRight(*latest_); });
    }
    bool waitForFrames(std::size_t count) {
        return wait([&] { return times_.size() >= count; });
    }
    bool waitForError() {
        return wait([&] { return !errors_.empty(); });
    }
    /// Waits until no frame has come for `quiet`; the number of frames so far.
    std::size_t settle(std::chrono::milliseconds quiet = std::chrono::milliseconds(300)) {
        std::unique_lock lock(mutex_);
        std::size_t seen = times_.size();
        while (changed_.wait_for(lock, quiet, [&] { return times_.size() > seen; })) seen = times_.size();
        return seen;
    }

    std::vector<std::string> errors() const {
        std::vector<std::string> texts;
        for (const PlatformError& error : locked(errors_)) texts.push_back(error.description());
        return texts;
    }
    int errorCode() const { return locked(errors_).at(0).code(); }
    std::string startError() const { return locked(startError_); }
    std::size_t frames() const { return locked(times_).size(); }
    ConstPixelBufferRef latest() const { return locked(latest_); }
    bool isMonotonic() const { return locked(isMonotonic_); }

  private:
    template <typename T>
    T locked(const T& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    template <typename Condition>
    bool wait(Condition condition) {
        return eventually(
            [&] {
                const std::lock_guard lock(mutex_);
                return condition();
            },
            run_);
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Look look_;
    std::function<void()> run_;
    bool hasStarted_ = false;
    bool hasStopped_ = false;
    bool isMonotonic_ = true;
    std::string startError_;
    std::vector<PlatformError> errors_;
    std::vector<double> times_;
    ConstPixelBufferRef latest_;
    SerialQueue queue_;
    std::unique_ptr<CaptureStream> stream_;
};

}  // namespace platform::test

#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Media/MediaService.hpp"

#include <QCoroTask>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace cobaltreel {

/// Records one display or one window, with the system's sound when asked, into a movie. Operations are
/// called and awaited on the main thread; one recorder is used for every recording, one at a time.
class ScreenRecorder {
  public:
    /// What to capture, and the size of the movie in pixels.
    struct Target {
        platform::ContentFilter filter;
        int width = 0;
        int height = 0;
    };
    /// What became of the frames that the stream offered since the last `start`.
    struct Statistics {
        std::uint64_t offered = 0;  ///< also those that the stream itself had no memory for
        std::uint64_t written = 0;
        std::uint64_t dropped = 0;  ///< those for which there was no room, in the encoder or before it
    };

    ScreenRecorder(std::shared_ptr<platform::ScreenCaptureService> capture,
                   std::shared_ptr<platform::MediaService> media,
                   std::shared_ptr<platform::MainLoop> mainLoop);
    ~ScreenRecorder();

    /// The whole display without the windows of one application. `scale` is pixels per point.
    static Target displayTarget(const platform::Display& display, double scale,
                                const std::string& excludingAppBundleID,
                                const platform::ShareableContent& from);
    /// One window; both sides are made even by growing.
    static Target windowTarget(const platform::Window& window, double scale);

    /// Creates the movie and starts the capture. Throws the platform's error, or
    /// PlatformError("Cobaltreel", 1) when the writer will not start and does not say why.
    QCoro::Task<void> start(Target target, std::filesystem::path outputPath, bool captureSystemAudio);
    /// Ends the capture and completes the movie. Never fails; at once when nothing runs.
    QCoro::Task<void> stop();

    /// Brings what was captured onto the disk. Returns the host-clock time, in seconds, up to which the movie
    /// then holds the recording: a picture stands until the next, so that is `now` when all that came before
    /// is in it. Absent while it holds nothing. Blocks; any thread.
    std::optional<double> flush(double now);

    /// Told once, on the main thread, when a running capture dies by itself; the owner then calls `stop`.
    std::function<void(const platform::PlatformError&)> onError;

    /// Host-clock seconds of the first frame written. Any thread.
    std::optional<double> firstPTS() const;
    Statistics statistics() const;
    /// Why the movie can no longer be written (a full disk, say); absent while all is well.
    std::optional<platform::PlatformError> writingError() const;

  private:
    void openWriter(const Target& target, const std::filesystem::path& outputPath, bool captureSystemAudio);
    void receiveVideo(const platform::CapturedSample& sample);
    void receiveAudio(const platform::CapturedSample& sample);

    std::shared_ptr<platform::ScreenCaptureService> capture_;
    std::shared_ptr<platform::MediaService> media_;
    std::shared_ptr<platform::MainLoop> mainLoop_;

    std::shared_ptr<platform::AssetWriter> writer_;  // shared with a `flush` under way
    platform::AssetWriterInput* input_ = nullptr;
    platform::AssetWriterInput* audioInput_ = nullptr;
    std::optional<platform::PlatformError> failedWriting_;  // of the writer that `stop` released
    std::optional<double> firstPTS_;
    double lastWritten_ = 0;        // host-clock seconds of the youngest frame that the writer took
    mutable std::mutex startLock_;  // the writer's session starts in one step as seen from other threads
    bool sessionStarted_ = false;
    std::atomic<std::uint64_t> offered_{0}, written_{0}, dropped_{0};
    platform::Lifetime lifetime_;

    // Declared last: the stream ends first, then its queues, then what they write to.
    platform::SerialQueue captureQueue_{"cobaltreel.screen.capture"};
    platform::SerialQueue audioQueue_{"cobaltreel.screen.audio"};
    std::unique_ptr<platform::CaptureStream> stream_;
};

}  // namespace cobaltreel

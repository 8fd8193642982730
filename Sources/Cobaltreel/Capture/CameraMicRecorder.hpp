#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Media/MediaService.hpp"

#include <QCoroTask>
#include <atomic>
#include <coroutine>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace cobaltreel {

/// Runs the one capture session of the application: shows the camera, measures the microphone, and writes
/// both into a movie while a recording runs. Operations are called and awaited on the main thread; one
/// recorder is used for every preview and recording.
class CameraMicRecorder {
  public:
    using PreviewFrameHandler = std::function<void(const platform::ConstPixelBufferRef&)>;

    /// What became of the samples that arrived since the last `beginWriting`.
    struct Statistics {
        std::uint64_t picturesWritten = 0;
        std::uint64_t picturesDropped = 0;  ///< the encoder had no room
        std::uint64_t soundsWritten = 0;
        std::uint64_t soundsDropped = 0;
    };

    static constexpr int pictureWidth = 1280;
    static constexpr int pictureHeight = 720;

    CameraMicRecorder(std::shared_ptr<platform::CaptureService> capture,
                      std::shared_ptr<platform::MediaService> media,
                      std::shared_ptr<platform::MainLoop> mainLoop);
    ~CameraMicRecorder();

    /// Reconfigures the session and starts it, asynchronously. Requests in quick succession collapse to the
    /// last one. A device that cannot be used is left out and reported through `onDeviceEvent`.
    void startPreview(std::optional<platform::CaptureDevice> camera,
                      std::optional<platform::CaptureDevice> mic, bool mirror);
    /// Receives every camera picture on the session's queue; empty for none. Takes effect asynchronously.
    void setPreviewFrameHandler(PreviewFrameHandler handler);

    /// Creates the movie; from then on samples are written. Throws the platform's error, or
    /// PlatformError("Cobaltreel.CameraMic", 2) when the writer will not start and does not say why.
    QCoro::Task<void> beginWriting(std::filesystem::path outputPath);
    /// Completes the movie; the preview goes on. Never fails.
    QCoro::Task<void> finishWriting();
    /// Completes the movie if one is open and stops the session, unless a preview is asked for meanwhile.
    /// Never fails.
    QCoro::Task<void> stop();

    /// Called on the main thread when something happens to a device in use.
    std::function<void(const platform::CaptureEvent&)> onDeviceEvent;

    /// The latest level of the microphone, 0…1; it stays when nothing is heard any more. Any thread.
    float currentMicLevel() const { return currentMicLevel_; }
    /// Counts the runs of sound that have come from any microphone. Any thread.
    std::uint64_t soundsSeen() const { return soundsSeen_; }
    /// Host-clock seconds of the first sample written. Any thread.
    std::optional<double> firstPTS() const;
    /// Brings what was captured onto the disk. Returns the host-clock time, in seconds, at which the movie
    /// then ends; absent while it holds nothing. Blocks; any thread.
    std::optional<double> flush();
    /// Whether the preview was asked for with a camera; false once it has been stopped.
    bool wantCamera() const { return wantCamera_; }
    Statistics statistics() const;
    /// Why the movie can no longer be written, or could not be completed (a full disk, say); absent while all
    /// is well. Main thread.
    std::optional<platform::PlatformError> writingError() const { return writingError_; }

    /// The level of one run of sound over all its channels, 0…1; 0 for a sample without sound.
    static float peakLevel(const platform::SampleBuffer& sample);

  private:
    struct OpenMovie;
    class AwaitEarlierFinish;

    void reconfigure(const std::optional<platform::CaptureDevice>& camera,
                     const std::optional<platform::CaptureDevice>& mic, bool mirror);
    void addInput(const platform::CaptureDevice& device);
    std::unique_ptr<OpenMovie> openMovie(const std::filesystem::path& outputPath, bool withCamera);
    void receive(const platform::SampleBuffer& sample);
    void listenForSilence(const platform::SampleBuffer& sound, float level);
    void write(const platform::SampleBuffer& sample);
    void noteBeginning(std::optional<double> firstPTS);
    void giveUpWriting();
    void report(platform::CaptureEvent::Kind kind, const platform::CaptureDevice& device,
                std::string message);
    void onEvent(const platform::CaptureEvent& event);
    void watchForStalls();

    std::shared_ptr<platform::MediaService> media_;
    std::shared_ptr<platform::MainLoop> mainLoop_;

    // Main thread.
    bool wantCamera_ = false;
    std::uint64_t previewRequests_ = 0;
    bool finishing_ = false;
    std::optional<platform::PlatformError> writingError_;
    std::vector<std::coroutine_handle<>> waitingForFinish_;
    std::optional<platform::WorkItem> pendingConfig_;
    std::unique_ptr<platform::Timer> stallTimer_;
    struct StallWatch {
        std::optional<platform::CaptureDevice> device;
        std::uint64_t seen = 0;
        int quietTicks = 0;
    };
    StallWatch cameraWatch_, micWatch_;
    platform::Lifetime lifetime_;

    // The session's queue.
    std::unique_ptr<OpenMovie> movie_;
    bool writing_ = false;
    PreviewFrameHandler onPreviewFrame_;
    std::optional<platform::CaptureDevice> mic_;
    std::optional<double> silentSince_;
    bool listensForSilence_ = false;  // until the microphone has been heard, or reported

    mutable std::mutex keptLock_;
    std::optional<double> firstPTS_;
    std::shared_ptr<platform::AssetWriter> keptWriter_;  // once the movie has begun

    std::atomic<float> currentMicLevel_{0};
    std::atomic<std::uint64_t> picturesSeen_{0}, soundsSeen_{0};
    /// The camera's own colors, which a movie of it keeps.
    std::atomic<platform::ColorMatrix> pictureMatrix_{platform::ColorMatrix::bt709Limited};
    std::atomic<std::uint64_t> picturesWritten_{0}, picturesDropped_{0}, soundsWritten_{0}, soundsDropped_{0};

    // Ended in the reverse order: what configures, then the session, then what it delivers to.
    platform::SerialQueue ioQueue_{"cobaltreel.session.io", 256};
    std::unique_ptr<platform::CaptureSession> session_;
    platform::SerialQueue configQueue_{"cobaltreel.session.config", 256};
};

}  // namespace cobaltreel

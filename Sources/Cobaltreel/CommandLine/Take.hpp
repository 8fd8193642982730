#pragma once

#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoroTask>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace cobaltreel {

/// What the command line may choose about a recording.
struct TakeOptions {
    std::optional<std::uint32_t> displayID;  ///< absent with `windowID` absent: the main display
    std::optional<std::uint32_t> windowID;
    std::optional<double> duration;  ///< seconds; absent: until stopped
    bool autoZoom = false;
    bool systemAudio = false;
    std::optional<platform::CaptureDevice> camera;
    std::optional<platform::CaptureDevice> microphone;
    bool mirrorCamera = true;
    CameraCorner corner = CameraCorner::bottomLeft;
    double bubbleSizeFraction = 0.24;
    CameraStyle style = CameraStyle::bubble;
};

/// One recording from the command line: screen, pointer and the chosen devices into a session folder of its
/// own. Main
/// thread only; lives until `run` has returned.
class Take {
  public:
    static constexpr double longestTake = 1800;                      ///< seconds
    static constexpr std::int64_t leastFreeAtStart = 2'000'000'000;  ///< bytes
    static constexpr std::int64_t leastFreeWhileRecording = 499'999'999;

    Take(const platform::PlatformServices& services, TakeOptions options);

    /// Records until the duration, `requestStop` or a limit. Returns the finished session; none when it
    /// was stopped before capture began (nothing is left then). Throws when it cannot record.
    QCoro::Task<std::optional<SessionFolder>> run();

    /// Ends the recording; a second request changes nothing.
    void requestStop();

    /// Counts down before capture begins, when set: calls one of the two once, on the main thread.
    std::function<void(std::function<void()> onCancel, std::function<void()> onDone)> countdown;
    /// The elapsed seconds, once a second.
    std::function<void(double)> onElapsed;
    /// What befalls a camera or microphone in use, for a person to read.
    std::function<void(const std::string&)> onDeviceMessage;

    /// Why the recording ended by itself, for a person to read; empty when it did not.
    const std::string& endReason() const { return endReason_; }
    ScreenRecorder::Statistics statistics() const { return screen_.statistics(); }
    /// 0…1; 0 without a microphone.
    float microphoneLevel() const { return cameraMic_.currentMicLevel(); }

  private:
    struct Chosen {
        ScreenRecorder::Target target;
        SessionMeta meta;
    };
    Chosen choose() const;
    bool usesDevices() const { return options_.camera || options_.microphone; }
    void startDevices();
    QCoro::Task<void> countDown();
    QCoro::Task<void> waitForEnd();
    void tick();
    void end(const std::string& reason);

    platform::PlatformServices services_;
    TakeOptions options_;
    ScreenRecorder screen_;
    CameraMicRecorder cameraMic_;
    MouseSampler mouse_;
    std::string endReason_;
    bool stopRequested_ = false;
    double startedAt_ = 0;
    std::int64_t ticks_ = 0;
    std::filesystem::path folderDir_;
    std::function<void()> wake_;  // resumes whoever waits for a stop
};

}  // namespace cobaltreel

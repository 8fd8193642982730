#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/RecordingServices.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/Lifetime.hpp"

#include <QCoroTask>
#include <QString>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

class CameraMicRecorder;
class LivePreview;
class MicrophoneMeter;
class ScreenRecorder;
class SourceLists;
struct RecordingEngine;

/// Drives a recording from the press of a button to the finished session, and keeps the choices for it. One
/// for the whole run, made by the application's shell and handed on. Main thread only; it may be destroyed
/// at any moment, also while one of its operations is awaited.
class RecordingCoordinator final : public RecordingChoices {
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged FINAL)
    Q_PROPERTY(double elapsed READ elapsed NOTIFY elapsedChanged FINAL)
    Q_PROPERTY(float micLevel READ micLevel NOTIFY micLevelChanged FINAL)

  public:
    enum class State { idle, countdown, recording };
    Q_ENUM(State)

    static constexpr double longestRecording = 1800;               ///< seconds
    static constexpr std::int64_t minFreeAtStart = 2'000'000'000;  ///< bytes
    /// Bytes; with no more than these free a recording ends.
    static constexpr std::int64_t minFreeWhileRecording = 499'999'999;

    explicit RecordingCoordinator(RecordingServices services, QObject* parent = nullptr);
    ~RecordingCoordinator() override;

    State state() const { return stateOf(phase_); }
    /// Seconds since capture began, updated once a second; stays after the end.
    double elapsed() const { return elapsed_; }
    /// 0…1, for the meter; alive while a preview that `startCameraPreview` began runs.
    float micLevel() const { return micLevel_; }
    bool previewActive() const;
    /// Folder and metadata of the current or last recording.
    const std::optional<SessionFolder>& session() const { return session_; }
    const std::optional<SessionMeta>& meta() const { return meta_; }
    /// Why the last recording ended by itself, for a person to read; empty when it did not.
    const std::string& endReason() const { return endReason_; }
    /// Something of the last recording is missing: the display server was lost, a file could not be written.
    bool endedByFailure() const { return endedByFailure_; }
    const ScreenRecorder& screen() const;
    const CameraMicRecorder& cameraMic() const;

    /// Starts a recording when idle, stops one that runs; nothing during the countdown.
    void toggle();
    enum class Marked { marked, notRecording, ending, tooMany };
    /// Marks this moment of the recording that runs. The text is kept as `MarkerText::cleaned` leaves it.
    Marked mark(const QString& text);
    /// Of the current or last recording.
    int markerCount() const;
    /// Ends the recording, completes its files and opens the preview. Returns at once when none runs, or
    /// when it is being stopped already.
    QCoro::Task<void> stopRecording();
    /// Ends whatever goes on because the session does: a countdown is cancelled, a recording stopped and its
    /// files completed, without a preview. Nothing is on its way to the disk once it has returned.
    QCoro::Task<void> finishBeforeQuit();
    /// Returns once nothing is being recorded, or about to be.
    QCoro::Task<void> untilIdle();

    /// Reloads displays and windows; leaves them when they cannot be had. `refreshDevices` does not wait for
    /// the media server after it.
    QCoro::Task<void> refreshContent();
    /// Reloads cameras and microphones; happens by itself when they change.
    void refreshDevices();
    /// Whether cameras and microphones have been looked for, and whether the media server then did not
    /// answer.
    bool devicesKnown() const;
    bool mediaServerMissing() const;
    /// Asks for the microphone (and the camera); false, after an alert, when there is no recording without.
    QCoro::Task<bool> ensureAuthorized(bool needCamera);

    /// Starts or restarts the preview of the selected devices with the meter and the bubble. A countdown or a
    /// recording keeps its devices: then it is the meter only.
    void startCameraPreview();
    /// Idle only: a countdown or a recording keeps the preview.
    void stopCameraPreview();
    /// Whether windows of ours would be in the picture of what is selected: a display whose desktop cannot
    /// leave them out. They are hidden while it is recorded.
    bool recordsOwnWindows() const;
    /// Moves or resizes the bubble; not while recording.
    void updateBubble();
    void openSettings();
    void openPreview(const SessionFolder& folder, const SessionMeta& meta,
                     std::vector<DeviceAbsence> absences = {});

  Q_SIGNALS:
    void stateChanged();
    void elapsedChanged();
    void micLevelChanged();
    /// Something happened to a camera or microphone in use. `notice` is short and in the interface language,
    /// for a window; `details` gives the reason in English, for a terminal. A message replaces an earlier one
    /// of the same `topic`: the device's identifier, if it is about one.
    void deviceMessage(const QString& notice, const QString& details, const QString& topic);

  private:
    enum class Phase {
        idle,
        asking,     ///< for access, for room on the disk, for what to record
        counting,   ///< down
        beginning,  ///< not given up halfway
        recording,
        stopping,
    };
    static State stateOf(Phase phase);

    QCoro::Task<void> start();
    QCoro::Task<void> beginCapture();
    QCoro::Task<void> captureFailed(std::optional<SessionFolder> folder, std::exception_ptr failure,
                                    bool atCamera);
    QCoro::Task<void> streamFailed(platform::PlatformError error);
    QCoro::Task<void> tick();
    QCoro::Task<void> endByItself(QString reason);
    QCoro::Task<void> previewClosed(SessionFolder folder, bool hasExported);
    QCoro::Task<void> untilPhaseChanges();
    void abandonStart();
    void abandonCountdown();
    void endPreview();
    void onDeviceEvent(const platform::CaptureEvent& event);
    void setPhase(Phase phase);

    std::shared_ptr<RecordingEngine> engine_;
    std::unique_ptr<LivePreview> preview_;
    std::unique_ptr<MicrophoneMeter> meter_;
    std::unique_ptr<SourceLists> lists_;

    Phase phase_ = Phase::idle;
    double elapsed_ = 0;
    float micLevel_ = 0;
    DeviceAbsences absences_;  // of the recording that runs
    std::optional<SessionFolder> session_;
    std::optional<SessionMeta> meta_;
    std::string endReason_;
    bool endedByFailure_ = false;
    std::unique_ptr<platform::Timer> timer_;
    double startedAt_ = 0;  // host clock

    // Counts starts, and starts given up: an operation sees that its time is over.
    std::uint64_t attempt_ = 0;
    bool quitting_ = false;
    bool looking_ = false;  // at the disk
    bool looksAtRoom_ = false;
    std::optional<double> pictureEndedAt_;                    // by itself; host clock
    std::function<void(bool done)> countdownEnded_;           // while the countdown is awaited
    std::vector<std::function<void(Phase)>> awaitingChange_;  // of the phase
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel

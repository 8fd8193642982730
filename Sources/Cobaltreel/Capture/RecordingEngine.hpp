#pragma once

#include "Cobaltreel/Capture/Awaiting.hpp"
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Cobaltreel/Capture/RecordingServices.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Capture/SessionKeeper.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"

#include <QCoroTask>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace cobaltreel {

/// What became of the place that a recording is written to.
struct DiskState {
    bool isFolderGone = false;
    std::int64_t freeBytes = 0;
};

/// What an exception says; empty for one of a foreign kind.
std::string descriptionOf(const std::exception_ptr& failure);

/// What records. Shared by the coordinator and by each of its operations under way, so that an operation
/// comes to its end, and a recording to complete files, whatever becomes of the coordinator. Main thread.
struct RecordingEngine {
    explicit RecordingEngine(RecordingServices with)
        : services(std::move(with)),
          screen(services.screenCapture, services.media, services.mainLoop),
          cameraMic(services.capture, services.media, services.mainLoop),
          mouse(services.clock, services.mainLoop, services.desktop),
          keeper(services.clock, services.mainLoop, screen, cameraMic, mouse) {}

    /// Awaits work on files and on the display server, which may take longer than the main thread has.
    AwaitOnQueue offMainThread(std::function<void()> work) {
        return {*services.mainLoop, queue, std::move(work)};
    }
    /// Awaits the user's answer to an alert.
    AwaitAnswer<int> answerTo(Alert alert) {
        return {*services.mainLoop, [this, alert = std::move(alert)](std::function<void(int)> answered) {
                    services.alerts->present(alert, std::move(answered));
                }};
    }
    /// Awaits the user's consent to a kind of device.
    AwaitAnswer<bool> accessTo(platform::MediaType type) {
        return {*services.mainLoop, [this, type](std::function<void(bool)> answered) {
                    services.deviceAccess->requestAccess(type, std::move(answered));
                }};
    }

    /// Why a movie of the recording can no longer be written; absent while all is well.
    std::optional<platform::PlatformError> writingError() const {
        const auto error = screen.writingError();
        return error ? error : cameraMic.writingError();
    }

    /// Holds back what would disturb a recording, or lets it come again.
    void setQuiet(bool quiet);

    /// Writes what is left of a recording whose streams have ended: its pointer, its times (into `meta`,
    /// too), its documents. Returns why something could not be written; absent when all was. The engine is
    /// kept by the caller until then.
    QCoro::Task<std::optional<platform::PlatformError>> completeTake(SessionFolder folder, SessionMeta& meta,
                                                                     std::optional<double> pictureEndedAt);
    QCoro::Task<DiskState> lookAtDisk(std::filesystem::path folder);

    const RecordingServices services;
    ScreenRecorder screen;
    CameraMicRecorder cameraMic;
    MouseSampler mouse;
    /// From the making of the session's folder until its last document is written.
    std::shared_ptr<RecordingFiles> files;
    SessionKeeper keeper;

  private:
    std::unique_ptr<platform::Inhibition> inhibition;
    platform::SerialQueue queue{"cobaltreel.session.files"};
};

}  // namespace cobaltreel

#include "Cobaltreel/Capture/RecordingEngine.hpp"

#include "Cobaltreel/Capture/InterruptedTake.hpp"
#include "Cobaltreel/Capture/RecordingFiles.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <filesystem>
#include <system_error>

namespace cobaltreel {

using platform::PlatformError;

std::string descriptionOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return {};
    }
}

void RecordingEngine::setQuiet(bool quiet) {
    if (!quiet)
        inhibition.reset();
    else if (!inhibition && services.inhibitor)
        inhibition = services.inhibitor->inhibit(S::quietReason().toStdString());
}

QCoro::Task<std::optional<PlatformError>> RecordingEngine::completeTake(
    SessionFolder folder, SessionMeta& meta, std::optional<double> pictureEndedAt) {
    const EventLog events = keeper.endEvents();
    co_await keeper.stop();
    auto error = writingError();
    meta.screenFirstPTS = screen.firstPTS();
    meta.cameraFirstPTS = cameraMic.firstPTS();
    co_await offMainThread([&] {
        // A take without a picture is no take, whatever the screen gave.
        if (error && InterruptedTake::isKnownEmpty(folder.screenMovie(), *services.media))
            meta.screenFirstPTS.reset();
        meta.recordingEndHostTime = pictureEndedAt.value_or(services.clock->now());
        const auto unwritten = files->complete(events, meta);
        if (!error) error = unwritten;
    });
    files.reset();
    co_return error;
}

QCoro::Task<DiskState> RecordingEngine::lookAtDisk(std::filesystem::path folder) {
    DiskState state;
    co_await offMainThread([&] {
        std::error_code unknown;
        state.isFolderGone = !std::filesystem::exists(folder, unknown) && !unknown;
        state.freeBytes = services.freeBytes(Paths::sessionsRoot());
    });
    co_return state;
}

}  // namespace cobaltreel

#include "Cobaltreel/Capture/RecordingFiles.hpp"

#include "Cobaltreel/Support/Paths.hpp"

#include <exception>
#include <filesystem>
#include <system_error>

namespace cobaltreel::RecordingFiles {

SessionFolder makeFreshFolder(std::chrono::system_clock::time_point now) {
    for (;; now += std::chrono::seconds(1)) {
        const auto dir = Paths::newSessionDir(now);
        if (std::filesystem::is_empty(dir)) return {dir};
    }
}

platform::UniqueFd keepInUse(const SessionFolder& folder) { return platform::openFolder(folder.dir); }

void completeDocuments(const SessionFolder& folder, const EventLog& events, SessionMeta& meta,
                       const platform::Clock& clock) {
    try {
        folder.writeEvents(events);
    } catch (const std::exception&) {
    }
    meta.recordingEndHostTime = clock.now();
    try {
        folder.writeMeta(meta);
    } catch (const std::exception&) {
    }
}

void remove(const SessionFolder& folder) {
    std::error_code ignored;
    std::filesystem::remove_all(folder.dir, ignored);
}

}  // namespace cobaltreel::RecordingFiles

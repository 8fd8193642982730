#include "Cobaltreel/Support/SessionFolder.hpp"

#include "Cobaltreel/Support/DocumentFile.hpp"
#include "Cobaltreel/Support/EventJournal.hpp"
#include "CobaltreelCore/SessionDocuments.hpp"
#include "Platform/Foundation/DurableFiles.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <system_error>
#include <utility>

namespace cobaltreel {

namespace {

using std::filesystem::path;

constexpr double longestRecording = 24 * 3600;  // seconds
constexpr std::int64_t largestSide = 32768;     // pixels

template <typename Decode>
auto readDocument(const path& file, std::uintmax_t largest, Decode decode) {
    const std::string bytes = DocumentFile::read(file, largest);
    try {
        return decode(bytes);
    } catch (const DocumentError& error) {
        throw DocumentError(error.key(), error.reason(), file.string());
    }
}

}  // namespace

void SessionFolder::writeMeta(const SessionMeta& meta) const {
    platform::replaceFile(metaFile(), SessionDocuments::encode(meta));
}

void SessionFolder::writeEvents(const EventLog& log) const {
    platform::replaceFile(eventsFile(), SessionDocuments::encode(log));
}

SessionMeta SessionFolder::readMeta() const {
    return readDocument(metaFile(), DocumentFile::largestMeta, SessionDocuments::decodeSessionMeta);
}

EventLog SessionFolder::readEvents() const {
    std::error_code error;
    if (!std::filesystem::exists(eventsFile(), error) && !error &&
        std::filesystem::exists(journalFile(), error))
        return EventJournal::read(journalFile());
    return readDocument(eventsFile(), DocumentFile::largestEvents, SessionDocuments::decodeEventLog);
}

bool SessionFolder::holdsOnlyOurFiles() const {
    namespace fs = std::filesystem;
    const std::array ours{screenMovie(),
                          cameraMovie(),
                          metaFile(),
                          eventsFile(),
                          journalFile(),
                          platform::temporaryName(metaFile()),
                          platform::temporaryName(eventsFile())};
    std::error_code error;
    if (fs::symlink_status(dir, error).type() != fs::file_type::directory) return false;
    for (fs::directory_iterator entry(dir, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        const auto type = entry->symlink_status(unknown).type();
        if (type != fs::file_type::regular || std::ranges::find(ours, entry->path()) == ours.end())
            return false;
    }
    return !error;
}

bool SessionFolder::remove(bool withJournal) const {
    std::error_code ignored;
    for (const auto& file : {cameraMovie(), screenMovie(), eventsFile(), metaFile(),
                             platform::temporaryName(metaFile()), platform::temporaryName(eventsFile())})
        std::filesystem::remove(file, ignored);
    if (withJournal) std::filesystem::remove(journalFile(), ignored);
    return std::filesystem::remove(dir, ignored);
}

std::optional<std::string> implausibility(const SessionMeta& meta) {
    for (const auto& [key, side] : {std::pair("captureWidthPx", meta.captureWidthPx),
                                    std::pair("captureHeightPx", meta.captureHeightPx)})
        if (side < 2 || side > largestSide) return std::string(key) + " is " + std::to_string(side);
    if (meta.recordingEndHostTime && meta.screenFirstPTS &&
        !(std::abs(*meta.recordingEndHostTime - *meta.screenFirstPTS) <= longestRecording))
        return "recordingEndHostTime is a day away from screenFirstPTS";
    return std::nullopt;
}

}  // namespace cobaltreel

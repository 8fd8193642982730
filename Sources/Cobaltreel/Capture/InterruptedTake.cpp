#include "Cobaltreel/Capture/InterruptedTake.hpp"

#include "Cobaltreel/Support/EventJournal.hpp"
#include "CobaltreelCore/DocumentError.hpp"
#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace cobaltreel::InterruptedTake {

namespace {

using platform::HeldFile;
using platform::MediaType;
using platform::PlatformError;
using State = Settled::State;

/// Before its first fragment a movie holds less.
constexpr std::uintmax_t largestEmptyMovie = 64 * 1024;

/// What a movie turns out to hold.
struct Movie {
    enum class Contents { pictures, soundOnly, nothing, unknown };
    Contents contents = Contents::unknown;
    double length = 0;  // seconds, of the longest track
    std::string reason;
    std::optional<double> start;  // host clock

    bool isPlayable() const { return contents == Contents::pictures || contents == Contents::soundOnly; }
};

Movie lookAt(const std::filesystem::path& file, platform::MediaService& media) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) return {Movie::Contents::nothing, 0, {}, {}};
    try {
        Movie movie{Movie::Contents::nothing, 0, {}, {}};
        const auto asset = media.asset(file);
        movie.start = asset->sessionStart();
        for (const MediaType type : {MediaType::audio, MediaType::video})
            for (const auto& track : asset->loadTracks(type)) {
                if (track.timeRange.duration() <= 0) continue;
                movie.length = std::max(movie.length, track.timeRange.end);
                movie.contents =
                    type == MediaType::video ? Movie::Contents::pictures : Movie::Contents::soundOnly;
            }
        return movie;
    } catch (const platform::NotAMovie& problem) {
        // What is larger may still be of use to somebody.
        const bool isSmall = std::filesystem::file_size(file, error) <= largestEmptyMovie && !error;
        return {isSmall ? Movie::Contents::nothing : Movie::Contents::unknown, 0, problem.description(), {}};
    } catch (const PlatformError& problem) {
        return {Movie::Contents::unknown, 0, problem.description(), {}};
    }
}

bool hasBothEnds(const SessionMeta& meta) { return meta.screenFirstPTS && meta.recordingEndHostTime; }

/// The ends that the movies and the journal report: the document may be older than the movies' first
/// pictures.
void completeTimes(SessionMeta& meta, const Movie& screen, const Movie& camera, const EventLog& events) {
    if (!meta.cameraFirstPTS && camera.isPlayable()) meta.cameraFirstPTS = camera.start;
    if (!meta.screenFirstPTS) meta.screenFirstPTS = screen.start;
    if (!meta.screenFirstPTS)
        meta.screenFirstPTS =
            !events.samples.empty() ? events.samples.front().t : meta.cameraFirstPTS.value_or(0);
    double end = *meta.screenFirstPTS + screen.length;
    if (meta.cameraFirstPTS && camera.isPlayable()) end = std::max(end, *meta.cameraFirstPTS + camera.length);
    if (meta.recordingEndHostTime) end = std::max(end, *meta.recordingEndHostTime);
    meta.recordingEndHostTime = end;
}

/// Writes what a good end would have written. The journal goes only once its samples are elsewhere.
void writeDocuments(const SessionFolder& folder, const SessionMeta& meta, const EventLog& events) {
    std::error_code error;
    folder.writeMeta(meta);
    if (!std::filesystem::exists(folder.eventsFile(), error)) folder.writeEvents(events);
    std::filesystem::remove(folder.journalFile(), error);
}

struct Look {
    Settled settled;
    std::optional<HeldFile> held;  // the journal's lock
};

Look look(const SessionFolder& folder, platform::MediaService& media, bool repair) {
    Look result;
    Settled& settled = result.settled;
    auto refusal = HeldFile::Refusal::absent;
    result.held = HeldFile::tryHold(folder.journalFile(), refusal);
    const bool wasCutOff = result.held.has_value();
    if (refusal == HeldFile::Refusal::heldByAnother) {
        settled.state = State::running;
        return result;
    }
    // The document says which of its times are absent; damaged, it may still belong to good movies.
    bool isReadable = false;
    try {
        settled.meta = folder.readMeta();
        isReadable = true;
    } catch (const DocumentError& error) {
        settled.reason = error.what();
    } catch (const PlatformError& error) {
        settled.reason = error.description();
        std::error_code ignored;
        if (std::filesystem::symlink_status(folder.metaFile(), ignored).type() ==
            std::filesystem::file_type::regular)
            return result;  // there, and cannot be read
    }
    std::error_code unknown;
    if (isReadable && !wasCutOff && hasBothEnds(settled.meta) &&
        std::filesystem::exists(folder.screenMovie(), unknown)) {
        settled.state = State::complete;
        return result;
    }
    const Movie screen = lookAt(folder.screenMovie(), media);
    const Movie camera = lookAt(folder.cameraMovie(), media);
    if (screen.contents != Movie::Contents::pictures || !isReadable) {
        const bool isEmpty = screen.contents == Movie::Contents::nothing &&
                             camera.contents == Movie::Contents::nothing && folder.holdsOnlyOurFiles() &&
                             refusal != HeldFile::Refusal::failed;
        settled.state = isEmpty ? State::empty : State::unclear;
        if (settled.reason.empty())
            settled.reason = screen.reason.empty() ? "it holds no picture of the screen" : screen.reason;
        return result;
    }
    settled.reason.clear();
    settled.state = State::complete;
    settled.wasCutOff = true;
    EventLog events{1, {}, {}};
    bool hasEvents = true;
    try {
        if (wasCutOff) events = EventJournal::read(folder.journalFile());
    } catch (const std::exception&) {
        hasEvents = false;
    }
    completeTimes(settled.meta, screen, camera, events);
    try {
        if (repair && hasEvents) writeDocuments(folder, settled.meta, events);
    } catch (const std::exception&) {
        // The next start tries again.
    }
    return result;
}

}  // namespace

Settled examine(const SessionFolder& folder, platform::MediaService& media) {
    return look(folder, media, false).settled;
}

Settled settle(const SessionFolder& folder, platform::MediaService& media) {
    return look(folder, media, true).settled;
}

bool isKnownEmpty(const std::filesystem::path& movie, platform::MediaService& media) {
    return lookAt(movie, media).contents == Movie::Contents::nothing;
}

bool removeIfEmpty(const SessionFolder& folder, platform::MediaService& media) {
    const Look now = look(folder, media, false);
    return now.settled.state == State::empty && folder.remove(now.held.has_value());
}

}  // namespace cobaltreel::InterruptedTake

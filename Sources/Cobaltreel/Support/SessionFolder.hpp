#pragma once

#include "CobaltreelCore/Models.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace cobaltreel {

/// One recording on disk: a directory with at most four files of fixed names and, until a recording has ended
/// in good order, the journal of its pointer. Its user alone may read it. A value; all operations
/// are synchronous and safe on any thread.
struct SessionFolder {
    std::filesystem::path dir;

    std::filesystem::path screenMovie() const { return dir / "screen.mov"; }
    std::filesystem::path cameraMovie() const { return dir / "camera.mov"; }
    std::filesystem::path metaFile() const { return dir / "session.json"; }
    std::filesystem::path eventsFile() const { return dir / "events.json"; }

    /// The pointer log of a recording that runs or was cut off; the recording process holds its lock.
    std::filesystem::path journalFile() const { return dir / "events.journal"; }

    /// Replaces session.json or events.json as a whole: a reader sees the old document or the new one,
    /// and a failure leaves the old one as it was. Throws DocumentError for a number that is not
    /// finite, PlatformError("Files") when the file cannot be written.
    void writeMeta(const SessionMeta& meta) const;
    void writeEvents(const EventLog& log) const;

    /// Throws DocumentError, naming the file and the key, for a damaged document, PlatformError("Files")
    /// when the file is absent, cannot be read or is far larger than any document of ours.
    SessionMeta readMeta() const;
    /// Without events.json what the journal holds.
    EventLog readEvents() const;

    /// The folder is one, not a link, and holds nothing but regular files of our names.
    bool holdsOnlyOurFiles() const;
    /// Removes our files and the folder, if it is empty then; follows no link. False when something is left.
    /// Only the holder of the journal's lock removes it.
    bool remove(bool withJournal = true) const;
};

/// What cannot be true of a recording, by its key: a length of more than a day, a side that no screen has.
/// Absent when all of it may be.
std::optional<std::string> implausibility(const SessionMeta& meta);

}  // namespace cobaltreel

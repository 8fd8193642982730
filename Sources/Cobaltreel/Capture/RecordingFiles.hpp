#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <chrono>
#include <optional>

namespace cobaltreel {

/// What a recording does on disk besides its movies. The folder is held until this goes: no other process
/// clears it away. Blocks; any thread, one at a time.
class RecordingFiles {
  public:
    /// Makes a folder that no other recording has used (names carry whole seconds, and two recordings may
    /// begin within one) with its first document. Throws PlatformError("Files"), DocumentError.
    RecordingFiles(std::chrono::system_clock::time_point now, const SessionMeta& meta);

    const SessionFolder& folder() const { return folder_; }

    /// Adds pointer samples to what was kept before, and replaces session.json. What cannot be written now is
    /// tried again the next time.
    void keep(EventLog events, const SessionMeta& meta);
    /// Adds the last samples, writes both documents in their final form, and releases the folder. The movies
    /// are there: a document that cannot be written does not cost them, nor what was kept before. Returns why
    /// something could not be written.
    std::optional<platform::PlatformError> complete(EventLog events, const SessionMeta& meta);

  private:
    void append(EventLog events);

    SessionFolder folder_;
    std::optional<platform::HeldFile> journal_;
    platform::DiskReserve reserve_;
    EventLog waiting_{1, {}, {}};  // for the journal
};

}  // namespace cobaltreel

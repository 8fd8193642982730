#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <chrono>

namespace cobaltreel {

/// What a recording does on disk besides its movies. Blocks; any thread.
namespace RecordingFiles {

/// A folder that no other recording has used: names carry whole seconds, and two recordings may begin
/// within one. Throws PlatformError("Files").
SessionFolder makeFreshFolder(std::chrono::system_clock::time_point now);

/// Shows other processes of the user, for as long as it is held, that somebody is at work in the folder:
/// they look for open files before they clear away what seems interrupted. Empty when it cannot be had.
platform::UniqueFd keepInUse(const SessionFolder& folder);

/// Notes the end of the recording in `meta` and writes both documents. The movies are there: a document that
/// cannot be written does not cost them.
void completeDocuments(const SessionFolder& folder, const EventLog& events, SessionMeta& meta,
                       const platform::Clock& clock);

/// Removes the folder with all that it holds, as far as that can be done.
void remove(const SessionFolder& folder);

}  // namespace RecordingFiles

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Media/MediaService.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace cobaltreel {

/// A recording whose end never came: a crash, a loss of power, a killed process. Blocks on the disk.
namespace InterruptedTake {

struct Settled {
    enum class State {
        complete,  ///< `meta` tells both ends; so it was, or so it has been made
        running,   ///< another process records into it
        empty,     ///< certainly ours, and certainly without anything to play
        unclear,   ///< `reason` says why nothing is to be done about it
    };
    State state = State::unclear;
    SessionMeta meta{};
    std::string reason;
    bool wasCutOff = false;  ///< a complete one tells its ends because the movies do
};

/// Looks at a session's folder and changes nothing. Throws nothing.
Settled examine(const SessionFolder& folder, platform::MediaService& media);

/// The same, and gives one that was cut off the documents that a good end would have written: the ends as the
/// movies tell them, the pointer's journal as events.json. What cannot be written is in `meta` all the same.
Settled settle(const SessionFolder& folder, platform::MediaService& media);

/// Whether a movie certainly holds nothing to play: its writing failed before its first fragment.
bool isKnownEmpty(const std::filesystem::path& movie, platform::MediaService& media);

/// Settles, and removes the folder when it is empty. True when it has been removed.
bool removeIfEmpty(const SessionFolder& folder, platform::MediaService& media);

}  // namespace InterruptedTake

}  // namespace cobaltreel

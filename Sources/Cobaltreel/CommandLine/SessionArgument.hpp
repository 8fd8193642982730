#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Media/MediaService.hpp"

#include <optional>
#include <string>

namespace cobaltreel {

/// A session as a command's argument names it.
struct SessionArgument {
    SessionFolder folder;
    SessionMeta meta;
    bool wasCutOff = false;
};

/// Opens a session by the path of its folder or by its name among the recordings; one that was cut off tells
/// its ends as its movies do. Throws CommandError when there is no such folder, or it is being recorded into,
/// holds no movie, or its session.json cannot be read or cannot be true.
SessionArgument openSession(const std::string& text, platform::MediaService& media);

/// Length of the whole recording in seconds: from the first frame to the end, at least half a second.
double recordedDuration(const SessionMeta& meta);

/// The kept span. Throws CommandError unless 0 ≤ start < end ≤ `duration`; absent sides keep all.
struct TrimOptions {
    std::optional<double> start;
    std::optional<double> end;
};
struct Trim {
    double start;
    double end;
};
Trim resolveTrim(const TrimOptions& options, double duration);

}  // namespace cobaltreel

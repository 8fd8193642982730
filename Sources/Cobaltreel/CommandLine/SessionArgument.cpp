#include "Cobaltreel/CommandLine/SessionArgument.hpp"

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace cobaltreel {

namespace {

std::string shown(double seconds) {
    std::ostringstream text;
    text << seconds;
    return text.str();
}

}  // namespace

SessionArgument openSession(const std::string& text) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    fs::path dir = text;
    const bool isName = dir.filename() == dir && dir != "." && dir != "..";
    if (!fs::is_directory(dir, ignored) && isName) dir = Paths::sessionsRoot() / text;
    if (!fs::is_directory(dir, ignored))
        throw CommandError("there is no session folder " + text +
                           "; `cobaltreel sessions` lists the recordings");
    SessionArgument session{{fs::absolute(dir, ignored)}, {}};
    session.meta = session.folder.readMeta();
    if (const auto wrong = implausibility(session.meta))
        throw CommandError(session.folder.metaFile().string() + ": " + *wrong +
                           "; the session cannot be used");
    return session;
}

double recordedDuration(const SessionArgument& session, platform::MediaService& media) {
    const auto& meta = session.meta;
    if (meta.recordingEndHostTime && meta.screenFirstPTS)
        return std::max(*meta.recordingEndHostTime - *meta.screenFirstPTS, 0.5);
    const auto tracks = media.asset(session.folder.screenMovie())->loadTracks(platform::MediaType::video);
    if (tracks.empty()) throw CommandError(session.folder.screenMovie().string() + " holds no picture");
    return tracks.front().timeRange.end;
}

Trim resolveTrim(const TrimOptions& options, double duration) {
    const Trim trim{options.start.value_or(0), options.end.value_or(duration)};
    const auto refuse = [&](const std::string& what) -> void {
        throw CommandError(what + "; the recording lasts from 0 to " + shown(duration) + " seconds",
                           ExitStatus::usage);
    };
    if (!std::isfinite(trim.start)) refuse("--trim-start is not a number of seconds");
    if (!std::isfinite(trim.end)) refuse("--trim-end is not a number of seconds");
    if (trim.start < 0) refuse("--trim-start " + shown(trim.start) + " is before the beginning");
    // A millisecond of grace for a length that was read off rounded.
    if (trim.end > duration + 1e-3) refuse("--trim-end " + shown(trim.end) + " is after the end");
    if (trim.start >= trim.end)
        refuse("nothing is left between --trim-start " + shown(trim.start) + " and --trim-end " +
               shown(trim.end));
    return {trim.start, std::min(trim.end, duration)};
}

}  // namespace cobaltreel

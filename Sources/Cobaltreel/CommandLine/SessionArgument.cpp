#include "Cobaltreel/CommandLine/SessionArgument.hpp"

#include "Cobaltreel/Capture/InterruptedTake.hpp"
#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/Support/Paths.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

namespace cobaltreel {

namespace {

std::string shown(double seconds) {
    std::ostringstream text;
    text << seconds;
    return text.str();
}

}  // namespace

SessionArgument openSession(const std::string& text, platform::MediaService& media) {
    namespace fs = std::filesystem;
    using State = InterruptedTake::Settled::State;
    std::error_code ignored;
    fs::path dir = text;
    const bool isName = dir.filename() == dir && dir != "." && dir != "..";
    if (!fs::is_directory(dir, ignored) && isName) dir = Paths::sessionsRoot() / text;
    if (!fs::is_directory(dir, ignored))
        throw CommandError("there is no session folder " + text +
                           "; `cobaltreel sessions` lists the recordings");
    const SessionFolder folder{fs::absolute(dir, ignored)};
    // The plan of a complete session needs no movie.
    InterruptedTake::Settled settled{State::complete, folder.readMeta(), {}};
    const bool tellsBothEnds = settled.meta.screenFirstPTS && settled.meta.recordingEndHostTime;
    if (!tellsBothEnds || fs::exists(folder.journalFile(), ignored))
        settled = InterruptedTake::examine(folder, media);
    if (settled.state == State::running)
        throw CommandError(folder.dir.string() +
                           " is being recorded at this moment; stop the recording first");
    if (settled.state != State::complete) throw CommandError(settled.reason);
    if (const auto wrong = implausibility(settled.meta))
        throw CommandError(folder.metaFile().string() + ": " + *wrong + "; the session cannot be used");
    return {folder, std::move(settled.meta), settled.wasCutOff};
}

double recordedDuration(const SessionMeta& meta) {
    return std::max(meta.recordingEndHostTime.value_or(0) - meta.screenFirstPTS.value_or(0), 0.5);
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

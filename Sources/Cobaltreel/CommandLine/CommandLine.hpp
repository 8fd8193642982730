#pragma once

namespace cobaltreel {

/// Exit statuses of the executable.
enum class ExitStatus : int {
    done = 0,
    failed = 1,
    usage = 2,
    notRecording = 3,  ///< of `status`: the application runs
    notRunning = 4,    ///< of `status`
    interrupted = 130,
};

/// Parses the arguments and runs the subcommand on this, the main, thread. Results go to standard
/// output, messages and progress to standard error. Returns the exit status.
int runCommandLine(int argc, char** argv);

}  // namespace cobaltreel

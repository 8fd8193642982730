#include "Platform/Desktop/Posix/PosixRelauncher.hpp"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace platform {
namespace {

std::filesystem::path ownProgram() {
    std::error_code error;
    std::string program = std::filesystem::read_symlink("/proc/self/exe", error).string();
    // An update has put another file in its place.
    const std::string replaced = " (deleted)";
    if (program.ends_with(replaced)) program.resize(program.size() - replaced.size());
    return program;
}

/// What the process left behind does. Only calls that are safe after a fork of a program with threads.
[[noreturn]] void waitAndBecome(int endOfParent, const char* program, char* const* arguments) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    char byte = 0;
    // Nobody writes: reading ends when the last process that could has ended.
    while (read(endOfParent, &byte, 1) < 0 && errno == EINTR) {
    }
    execv(program, arguments);
    _exit(127);
}

}  // namespace

PosixRelauncher::PosixRelauncher() : PosixRelauncher(ownProgram(), {}) {}

PosixRelauncher::PosixRelauncher(std::filesystem::path program, std::vector<std::string> arguments)
    : program_(std::move(program)), arguments_(std::move(arguments)) {}

void PosixRelauncher::relaunchAfterExit() {
    int ends[2];
    if (waits_ || pipe2(ends, O_CLOEXEC) != 0) return;
    std::string program = program_.string();
    std::vector<char*> words{program.data()};
    for (std::string& argument : arguments_) words.push_back(argument.data());
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        waitAndBecome(ends[0], program.c_str(), words.data());
    }
    close(ends[0]);
    waits_ = child > 0;
    // Otherwise this end stays open until the process ends: that is what the other one waits for.
    if (!waits_) close(ends[1]);
}

}  // namespace platform

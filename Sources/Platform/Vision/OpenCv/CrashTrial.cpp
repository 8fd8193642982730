#include "Platform/Vision/OpenCv/CrashTrial.hpp"

#include <cerrno>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr rlim_t largestTime = 20;  // seconds of processor time

[[noreturn]] void tryIn(const std::function<void()>& work) {
    const rlimit time{largestTime, largestTime}, noCore{0, 0};
    setrlimit(RLIMIT_CPU, &time);
    setrlimit(RLIMIT_CORE, &noCore);
    // The program's own handlers are not meant for this process.
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTERM, SIGINT})
        signal(number, SIG_DFL);
    try {
        work();
    } catch (...) {
        _exit(1);
    }
    _exit(0);
}

}  // namespace

bool survivesTrial(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child < 0) return true;  // no process to be had: the file gets its chance
    if (child == 0) tryIn(work);
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return true;
    return WIFEXITED(status);
}

}  // namespace platform

#pragma once

#include <signal.h>

namespace platform {

/// For a program that is about to be started: the signals that this one reads from a descriptor are its own
/// again. Safe between fork and exec.
inline void unblockSignals() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace platform

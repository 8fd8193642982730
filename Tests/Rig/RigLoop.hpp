#pragma once

#include "Rig/HostTime.hpp"

#include <csignal>
#include <cstdint>

#include <pipewire/pipewire.h>

namespace rig {

/// Ends the loop at SIGINT and SIGTERM.
inline void quitAtSignals(pw_main_loop* loop) {
    for (const int number : {SIGINT, SIGTERM})
        pw_loop_add_signal(
            pw_main_loop_get_loop(loop), number,
            [](void* ended, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(ended)); }, loop);
}

/// Ends the loop so many seconds from now; zero: never.
inline void quitAfter(pw_main_loop* loop, double seconds) {
    if (seconds <= 0) return;
    spa_source* const timer = pw_loop_add_timer(
        pw_main_loop_get_loop(loop),
        [](void* ended, std::uint64_t) { pw_main_loop_quit(static_cast<pw_main_loop*>(ended)); }, loop);
    timespec delay = timespecOf(seconds);
    pw_loop_update_timer(pw_main_loop_get_loop(loop), timer, &delay, nullptr, false);
}

}  // namespace rig

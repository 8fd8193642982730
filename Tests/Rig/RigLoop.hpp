#pragma once

#include <csignal>

#include <pipewire/pipewire.h>

namespace rig {

/// Ends the loop at SIGINT and SIGTERM.
inline void quitAtSignals(pw_main_loop* loop) {
    for (const int number : {SIGINT, SIGTERM})
        pw_loop_add_signal(
            pw_main_loop_get_loop(loop), number,
            [](void* ended, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(ended)); }, loop);
}

}  // namespace rig

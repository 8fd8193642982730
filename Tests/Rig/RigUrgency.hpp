#pragma once

#include <sched.h>

namespace rig {

/// Puts this process before others where the machine allows it: a device does not wait for a compiler.
inline void becomeUrgent() {
    const sched_param priority{10};
    static_cast<void>(sched_setscheduler(0, SCHED_FIFO, &priority));
}

}  // namespace rig

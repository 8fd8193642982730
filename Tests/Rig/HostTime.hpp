#pragma once

#include <cmath>
#include <ctime>

namespace rig {

/// Seconds of the host clock, CLOCK_MONOTONIC.
inline double hostTime() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline timespec timespecOf(double seconds) {
    const double whole = std::floor(seconds);
    return {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
}

/// Returns at a time of the host clock; at once when it is past.
inline void sleepUntil(double time) {
    const timespec until = timespecOf(time);
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

}  // namespace rig

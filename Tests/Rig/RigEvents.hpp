#pragma once

#include <cmath>
#include <optional>
#include <vector>

/// The instants, in seconds of the host clock, at which the rig's devices flash and beep: those listed,
/// or every so many seconds of the clock.
struct RigEvents {
    std::vector<double> instants;
    double every = 0;

    static constexpr double length = 0.1;  ///< seconds that a flash or a beep lasts

    /// Seconds since the event that is going on at `time`; absent between events.
    std::optional<double> since(double time) const {
        for (const double instant : instants)
            if (time >= instant && time < instant + length) return time - instant;
        if (every <= 0) return std::nullopt;
        const double phase = time - std::floor(time / every) * every;
        return phase < length ? std::optional(phase) : std::nullopt;
    }
};

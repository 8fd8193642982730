#pragma once

#include <cmath>
#include <compare>
#include <cstdint>

namespace platform {

/// A rational media time: `value` / `timescale` seconds.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 600;

    /// The nearest time of the given timescale (halves away from zero).
    static MediaTime fromSeconds(double seconds, std::int32_t timescale = 600) {
        return {std::llround(seconds * timescale), timescale};
    }
    double seconds() const { return static_cast<double>(value) / timescale; }

    friend bool operator==(const MediaTime& a, const MediaTime& b) { return (a <=> b) == 0; }
    friend std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
        __extension__ using Wide = __int128;
        return static_cast<Wide>(a.value) * b.timescale <=> static_cast<Wide>(b.value) * a.timescale;
    }
};

/// Timescale of capture timestamps: host-clock seconds in nanoseconds, so nothing is rounded.
inline constexpr std::int32_t nanosecondTimescale = 1'000'000'000;

/// A span [start, end) in seconds of one timeline.
struct TimeRange {
    double start = 0;
    double end = 0;

    double duration() const { return end - start; }
    friend bool operator==(const TimeRange&, const TimeRange&) = default;
};

}  // namespace platform

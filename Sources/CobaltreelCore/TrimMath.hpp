#pragma once

#include <cstdint>
#include <optional>

namespace cobaltreel {

/// Ties the output's timeline (0 = first exported frame) to those of the movies (0 = their first
/// sample) and to the host clock. All in seconds; the kept span is [trimStart, trimEnd) on the screen
/// movie's timeline.
struct ExportTiming {
    double trimStart = 0;
    double trimEnd = 0;
    double screenFirstPTS = 0;
    double cameraFirstPTS = 0;

    double duration() const { return trimEnd - trimStart; }
    /// The screen movie's time shown at an output time.
    double screenTime(double forOutput) const { return forOutput + trimStart; }
    /// The camera movie's time shown at an output time.
    double cameraTime(double forOutput) const {
        return (forOutput + trimStart) + (screenFirstPTS - cameraFirstPTS);
    }
    /// The output time of something that happened at a host-clock time.
    double outputTime(double forEventHost) const { return (forEventHost - screenFirstPTS) - trimStart; }

    friend bool operator==(const ExportTiming&, const ExportTiming&) = default;
};

/// Size of the exported picture in pixels.
struct OutputSize {
    std::int64_t w = 0;
    std::int64_t h = 0;

    /// The capture's size brought down to `targetHeight` when that is given and smaller; never scaled
    /// up. Encoders want even sides, so an odd one loses a pixel. Takes positive sizes only.
    static OutputSize compute(std::int64_t rawW, std::int64_t rawH, std::optional<std::int64_t> targetHeight);

    /// The capture's shape as large as `box` holds it, larger than the capture too; sides even, as above.
    static OutputSize fitted(std::int64_t rawW, std::int64_t rawH, const OutputSize& box);

    friend bool operator==(const OutputSize&, const OutputSize&) = default;
};

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Media/MediaService.hpp"

#include <cstdint>
#include <optional>

namespace rig {

/// A made session whose pictures tell which they are: both movies carry the number of each frame in a strip
/// across their upper edge. It has a silent microphone, a few clicks, and the computer's sound is a tone
/// whose height tells the time.
struct CounterSession {
    int width = 1280;  ///< of the screen movie, pixels
    int height = 720;
    int screenRate = 30;  ///< frames a second
    double seconds = 6;
    double cameraLead = 0.5;  ///< the camera began so much earlier; 1280 × 720 at 30 frames a second
    static constexpr int cameraRate = 30;
    static constexpr double toneStart = 1000;  ///< hertz at 0 of the screen movie
    static constexpr double toneRise = 400;    ///< hertz a second

    /// Makes the session in `folder`, or leaves what was made there for the same values.
    cobaltreel::SessionMeta prepare(const cobaltreel::SessionFolder& folder,
                                    platform::MediaService& media) const;
};

/// The number in a frame of either movie, of any size from about 170 pixels wide (bgra); absent when it
/// cannot be read.
std::optional<std::uint32_t> counterIn(const platform::PixelBuffer& picture);

}  // namespace rig

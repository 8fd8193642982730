#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Media/MediaService.hpp"

#include <filesystem>

namespace cobaltreel::benchmarks {

/// What the export is measured on: 1920 × 1080 at 60 frames a second, camera 1280 × 720 at 30, microphone,
/// system audio, a dozen clicks.
struct BenchmarkSession {
    SessionFolder folder;
    SessionMeta meta;
    double duration;  ///< seconds

    /// Uses the session in `dir` when it is there and has the length, makes it otherwise (about half a
    /// minute for twenty seconds). Throws when it cannot be written.
    static BenchmarkSession prepare(const std::filesystem::path& dir, double duration,
                                    platform::MediaService& media);
};

}  // namespace cobaltreel::benchmarks

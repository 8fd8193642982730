#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Media/MediaService.hpp"

#include <filesystem>

namespace cobaltreel::benchmarks {

enum class TakeKind {
    busy,     ///< the whole screen changes sixty times a second; a dozen clicks, camera, system audio
    typical,  ///< real text: typing, the pointer, a scroll now and then; six clicks, camera, system audio
    still,    ///< a page of text with a cursor that blinks, and a voice
};

/// What the export is measured on: 1920 × 1080, a camera of 1280 × 720 at 30 frames a second, a microphone.
struct BenchmarkSession {
    SessionFolder folder;
    SessionMeta meta;
    double duration;  ///< seconds

    /// Uses the session in `dir` when it is there and has the length, makes it otherwise (about half a
    /// minute for twenty seconds). Throws when it cannot be written. Needs a QGuiApplication.
    static BenchmarkSession prepare(const std::filesystem::path& dir, TakeKind kind, double duration,
                                    platform::MediaService& media);
};

}  // namespace cobaltreel::benchmarks

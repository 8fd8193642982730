#pragma once

#include "Cobaltreel/Export/ZoomPlan.hpp"
#include "CobaltreelCore/Chapters.hpp"
#include "CobaltreelCore/Models.hpp"
#include "CobaltreelCore/TrimMath.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace cobaltreel {

/// Kinds of file that an export makes.
enum class ExportFormat { mp4, webm, gif };

/// What to export, and how.
struct ExportOptions {
    enum class Quality { p720, p1080, full };

    ExportFormat format = ExportFormat::mp4;
    double trimStart = 0;  ///< seconds on the screen movie's timeline
    double trimEnd = 0;    ///< seconds on the screen movie's timeline
    Quality quality = Quality::p1080;
    /// A box that the picture fills as far as its shape allows, enlarged if need be; in place of the
    /// quality's height.
    std::optional<OutputSize> size;
    int framesPerSecond = 30;
    bool autoZoom = true;
    ZoomTiming zoomTiming = ZoomTiming::onClick;
    bool bubble = true;  ///< draw the camera
    CameraStyle cameraStyle = CameraStyle::bubble;
    bool clickRipples = true;
    bool systemAudio = true;
    Chapters::Names chapterNames{};    ///< the movie's chapters are the recording's markers
    std::filesystem::path outputPath;  ///< a file that is there already is replaced
};

/// Output height in pixels; absent keeps the capture's size.
constexpr std::optional<int> targetHeight(ExportOptions::Quality quality) {
    switch (quality) {
        case ExportOptions::Quality::p720:
            return 720;
        case ExportOptions::Quality::p1080:
            return 1080;
        case ExportOptions::Quality::full:
            break;
    }
    return std::nullopt;
}

/// Size of the exported picture of a recording of this size.
inline OutputSize outputSize(const ExportOptions& options, const SessionMeta& meta) {
    OutputSize size =
        options.size
            ? OutputSize::fitted(meta.captureWidthPx, meta.captureHeightPx, *options.size)
            : OutputSize::compute(meta.captureWidthPx, meta.captureHeightPx, targetHeight(options.quality));
    // A strip that is all but a line still has two sides.
    return {std::max<std::int64_t>(size.w, 2), std::max<std::int64_t>(size.h, 2)};
}

/// Average bit rate of the video, bits a second.
constexpr std::int64_t averageBitRate(ExportOptions::Quality quality) {
    switch (quality) {
        case ExportOptions::Quality::p720:
            return 5'000'000;
        case ExportOptions::Quality::p1080:
            return 10'000'000;
        case ExportOptions::Quality::full:
            break;
    }
    return 20'000'000;
}

/// The same for what an export makes: that of the quality whose height its size has, more of it for more than
/// 30 frames a second.
inline std::int64_t averageBitRate(const ExportOptions& options, const OutputSize& size) {
    auto quality = options.quality;
    if (options.size)
        quality = size.h <= 720    ? ExportOptions::Quality::p720
                  : size.h <= 1080 ? ExportOptions::Quality::p1080
                                   : ExportOptions::Quality::full;
    return averageBitRate(quality) * std::max(options.framesPerSecond, 30) / 30;
}

}  // namespace cobaltreel

#pragma once

#include "CobaltreelCore/Models.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace cobaltreel {

/// What to export, and how.
struct ExportOptions {
    enum class Quality { p720, p1080, full };

    double trimStart = 0;  ///< seconds on the screen movie's timeline
    double trimEnd = 0;    ///< seconds on the screen movie's timeline
    Quality quality = Quality::p1080;
    bool autoZoom = true;
    bool bubble = true;  ///< draw the camera
    CameraStyle cameraStyle = CameraStyle::bubble;
    bool clickRipples = true;
    bool systemAudio = true;
    std::filesystem::path outputURL;  ///< a file that is there already is replaced
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

}  // namespace cobaltreel

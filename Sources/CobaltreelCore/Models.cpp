#include "CobaltreelCore/Models.hpp"

#include <iterator>

namespace cobaltreel {

std::string_view rawValue(CaptureMode mode) {
    switch (mode) {
        case CaptureMode::display:
            return "display";
        case CaptureMode::window:
            return "window";
    }
    return {};
}

std::string_view rawValue(CameraCorner corner) {
    switch (corner) {
        case CameraCorner::bottomLeft:
            return "bottomLeft";
        case CameraCorner::bottomRight:
            return "bottomRight";
        case CameraCorner::topLeft:
            return "topLeft";
        case CameraCorner::topRight:
            return "topRight";
    }
    return {};
}

std::string_view rawValue(CameraStyle style) {
    switch (style) {
        case CameraStyle::bubble:
            return "bubble";
        case CameraStyle::cutout:
            return "cutout";
    }
    return {};
}

std::string_view rawValue(Language language) {
    switch (language) {
        case Language::he:
            return "he";
        case Language::en:
            return "en";
    }
    return {};
}

Language Languages::forSystem(std::span<const std::string> preferred) {
    if (preferred.empty()) return Language::en;
    const std::string& first = preferred.front();
    const bool hebrew =
        first.size() >= 2 && (first[0] == 'h' || first[0] == 'H') && (first[1] == 'e' || first[1] == 'E');
    return hebrew ? Language::he : Language::en;
}

void EventLog::append(EventLog&& piece) {
    const auto move = [](auto& target, auto& source) {
        target.insert(target.end(), std::make_move_iterator(source.begin()),
                      std::make_move_iterator(source.end()));
    };
    move(samples, piece.samples);
    move(windowFrames, piece.windowFrames);
    move(markers, piece.markers);
}

SessionMeta SessionMeta::makeDefault() {
    SessionMeta meta;
    meta.version = 1;
    meta.mode = CaptureMode::display;
    meta.displayID = 1;
    meta.captureWidthPx = 1920;
    meta.captureHeightPx = 1080;
    meta.displayFramePoints = {0, 0, 960, 540};
    meta.scaleFactor = 2.0;
    meta.windowID = 0;
    meta.cameraEnabled = true;
    meta.cameraCorner = CameraCorner::bottomLeft;
    meta.autoZoomEnabled = true;
    meta.bubbleSizeFraction = 0.24;
    meta.systemAudioEnabled = false;
    return meta;
}

}  // namespace cobaltreel

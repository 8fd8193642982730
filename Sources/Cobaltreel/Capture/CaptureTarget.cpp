#include "Cobaltreel/Capture/CaptureTarget.hpp"

#include <algorithm>

namespace cobaltreel {
namespace {

// Where no screen says otherwise: that of the displays of the time, and a laptop's height.
constexpr double usualScale = 2.0;
constexpr double usualScreenHeight = 1117.0;  // points

CaptureTarget windowTarget(const platform::Window& window, const std::vector<platform::Screen>& screens) {
    CaptureTarget chosen;
    chosen.meta.mode = CaptureMode::window;
    chosen.meta.windowID = window.windowID;
    chosen.meta.scaleFactor = screens.empty() ? usualScale : screens.front().backingScaleFactor;
    chosen.meta.displayFramePoints = {0, 0, window.frame.w, window.frame.h};
    chosen.target = ScreenRecorder::windowTarget(window, chosen.meta.scaleFactor);
    return chosen;
}

CaptureTarget displayTarget(const platform::Display& display, const platform::ShareableContent& content,
                            const std::vector<platform::Screen>& screens,
                            const std::string& ownBundleIdentifier) {
    CaptureTarget chosen;
    chosen.meta.mode = CaptureMode::display;
    chosen.meta.displayID = display.displayID;
    const auto screen = std::ranges::find(screens, display.displayID, &platform::Screen::displayID);
    if (screen != screens.end()) {
        const auto& frame = screen->frame;
        chosen.meta.scaleFactor = screen->backingScaleFactor;
        chosen.meta.displayFramePoints = {frame.x, frame.y, frame.w, frame.h};
    } else {
        chosen.meta.scaleFactor = usualScale;
        chosen.meta.displayFramePoints = {0, 0, static_cast<double>(display.width()),
                                          static_cast<double>(display.height())};
    }
    chosen.target =
        ScreenRecorder::displayTarget(display, chosen.meta.scaleFactor, ownBundleIdentifier, content);
    return chosen;
}

}  // namespace

std::optional<CaptureTarget> CaptureTarget::choose(const RecordingChoices& choices,
                                                   const platform::ShareableContent& content,
                                                   const std::vector<platform::Screen>& screens,
                                                   const std::string& ownBundleIdentifier) {
    const auto window = std::ranges::find_if(
        content.windows, [&](const auto& each) { return each.isOnScreen && choices.isSelected(each); });
    const auto display = std::ranges::find_if(
        content.displays, [&](const auto& each) { return each.displayID == choices.selectedDisplayID(); });

    CaptureTarget chosen;
    if (choices.mode() == CaptureMode::window && window != content.windows.end())
        chosen = windowTarget(*window, screens);
    else if (display != content.displays.end())
        chosen = displayTarget(*display, content, screens, ownBundleIdentifier);
    else
        return std::nullopt;

    SessionMeta& meta = chosen.meta;
    meta.version = CobaltreelCoreVersion::current;
    meta.captureWidthPx = chosen.target.width;
    meta.captureHeightPx = chosen.target.height;
    meta.mainScreenHeightPoints = screens.empty() ? usualScreenHeight : screens.front().frame.h;
    meta.cameraCorner = choices.cameraCorner();
    meta.autoZoomEnabled = choices.autoZoomEnabled();
    meta.bubbleSizeFraction = choices.bubbleSizeFraction();
    meta.systemAudioEnabled = choices.systemAudioEnabled();
    meta.cameraStyle = choices.cameraStyle();
    return chosen;
}

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Desktop/Desktop.hpp"

#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

/// What a recording captures, and its metadata so far: without times, and not yet with a camera.
struct CaptureTarget {
    ScreenRecorder::Target target;
    SessionMeta meta;

    /// The chosen window, or the chosen display when a display is to be recorded or the window is not on the
    /// screen (any longer); absent when that display has gone too. `screens` has the main one first.
    static std::optional<CaptureTarget> choose(const RecordingChoices& choices,
                                               const platform::ShareableContent& content,
                                               const std::vector<platform::Screen>& screens,
                                               const std::string& ownBundleIdentifier);
};

}  // namespace cobaltreel

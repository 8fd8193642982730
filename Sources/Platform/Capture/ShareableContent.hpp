#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

struct RunningApplication {
    std::string bundleIdentifier;  ///< desktop-file id, window class or "pid:N", whichever is known
    std::string name;
    int processID = 0;  ///< 0 when the client does not say

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

enum class ContentKind { display, window };

/// What an entry of the content stands for: itself, or on desktops that let the user choose in a dialog of
/// their own, that dialog's next choice or its last one.
enum class Offer { itself, chooser, lastChoice };

/// A display that can be recorded. On X11 one point is one pixel.
struct Display {
    std::uint32_t displayID = 0;  ///< stable for as long as the output keeps its name
    std::string name;
    Rect frame;  ///< points, origin at the top left of the main screen, y down
    double scale = 1;
    bool isMain = false;
    Offer offer = Offer::itself;

    int width() const { return static_cast<int>(frame.w); }
    int height() const { return static_cast<int>(frame.h); }
};

/// A window that can be recorded.
struct Window {
    std::uint32_t windowID = 0;
    std::string title;
    Rect frame;  ///< title bar included; points, origin at the top left of the main screen, y down
    bool isOnScreen = false;
    std::optional<RunningApplication> owningApplication;
    Offer offer = Offer::itself;
};

/// What can be recorded right now.
struct ShareableContent {
    std::vector<Display> displays;  ///< the main display first
    std::vector<Window> windows;    ///< front to back, the desktop's own windows left out
    std::vector<RunningApplication> applications;
};

}  // namespace platform

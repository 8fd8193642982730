#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <cstdint>

namespace platform {

/// What the window manager is asked to do. Windows go by their number at the display
/// server. Main thread; every call is a short round trip or two.
class WindowManager {
  public:
    virtual ~WindowManager() = default;
    /// Brings a window that is shown before all others, with the keyboard, as something that the user has
    /// just asked for: however long ago the program heard of the keyboard or the pointer last.
    virtual void activate(std::uint32_t window) = 0;
    /// The window's content is dark; its title bar had better be.
    virtual void preferDark(std::uint32_t window) = 0;
    /// Shows no entry for a window, which is on the screen, among those of the programs that run.
    virtual void skipTaskBar(std::uint32_t window) = 0;
    /// What panels and docks leave of a screen, both in pixels with the origin at the top left of the whole
    /// desktop, y down.
    virtual Rect workArea(const Rect& screen) = 0;
};

}  // namespace platform

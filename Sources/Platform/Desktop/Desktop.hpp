#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Where the pointer is and which buttons are down.
struct PointerState {
    double x = 0;  ///< points, origin at the bottom left of the main screen, y up
    double y = 0;
    std::int64_t buttons = 0;  ///< bit 0 primary, bit 1 secondary, bit 2 middle, higher bits further ones
    double delay = 0;          ///< seconds ago that it was so, where the desktop reports it later
};

/// A screen of the desktop.
struct Screen {
    std::uint32_t displayID = 0;  ///< the number of the same display in the shareable content
    Rect frame;                   ///< points, origin at the bottom left of the main screen, y up
    double backingScaleFactor = 1;
};

/// What the desktop tells about itself. Main thread; every call is one short round trip.
class Desktop {
  public:
    virtual ~Desktop() = default;
    /// The pointer now; the last known state when the server does not answer.
    virtual PointerState pointer() = 0;
    /// The screens, the main one first; empty when there is no display server.
    virtual std::vector<Screen> screens() = 0;
    /// The frame of one window (title bar included) in points, origin at the top left of the main
    /// screen, y down; absent when it is gone or not shown.
    virtual std::optional<Rect> windowBounds(std::uint32_t windowID) = 0;
    virtual std::string implementation() const = 0;
};

}  // namespace platform

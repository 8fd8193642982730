#pragma once

#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Platform/Xcb/XcbEventWatch.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Whether a program takes icons into its tray: it holds a selection for as long as it runs. Main thread.
class XcbTrayWatch {
  public:
    /// `changed` is called on the main thread when a tray came or went. An empty name means $DISPLAY. Throws
    /// PlatformError when there is no such server.
    XcbTrayWatch(MainLoop& mainLoop, std::function<void()> changed, const std::string& displayName = {});
    /// One short round trip.
    bool hasTray();
    /// Whether a tray has taken this window in. A few short round trips.
    bool holds(std::uint32_t window);

  private:
    XcbConnection connection_;
    XcbEventWatch events_;
};

}  // namespace platform

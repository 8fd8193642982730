#pragma once

#include "Platform/Imaging/PixelRect.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

struct XcbMonitor {
    std::uint32_t displayID = 0;  ///< a hash of the output's name, unlike that of any other in the list
    std::string name;
    PixelRect area;  ///< on the root window
    bool isMain = false;
};

/// The monitors that show something, the main one (the primary, else the first) first. The whole root
/// window counts as one when the server knows no monitors. Empty when the server is gone.
std::vector<XcbMonitor> readMonitors(XcbConnection& connection);

/// Whether the server shows its windows in a Wayland session, whose picture it does not have.
bool isXwayland(XcbConnection& connection);

/// Asks for an event whenever monitors come, go, move or change size.
void watchMonitors(XcbConnection& connection);
/// True for such an event.
bool isMonitorChange(const XcbConnection& connection, const xcb_generic_event_t& event);

}  // namespace platform

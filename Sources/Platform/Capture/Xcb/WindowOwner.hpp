#pragma once

#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <vector>

namespace platform {

/// The process that made a window, as the server knows it, else as the window says; 0 when neither does.
int processOf(XcbConnection& connection, xcb_window_t window);

/// Which application a window belongs to: its desktop-file id or else its window class, and its process.
/// The identifier is "pid:N" when it tells neither; all empty when nothing is known.
RunningApplication applicationOf(XcbConnection& connection, xcb_window_t window);

/// The application's own window inside a window manager's frame: the one that is marked as managed
/// (WM_STATE) or, while it is not yet, the one with a window class; else the window itself.
xcb_window_t clientWithin(XcbConnection& connection, xcb_window_t frame);

/// Whether this is one of the applications, by process or by identifier.
bool isAnyOf(const RunningApplication& owner, const std::vector<RunningApplication>& applications);

/// Whether a child of the root belongs to one of the applications, by process or by identifier.
bool belongsToAny(XcbConnection& connection, xcb_window_t topLevel,
                  const std::vector<RunningApplication>& applications);

}  // namespace platform

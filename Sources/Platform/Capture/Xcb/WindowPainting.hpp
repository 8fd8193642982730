#pragma once

#include "Platform/Capture/Frames/RectList.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <cstdint>

namespace platform {

/// Asks the window's program, and those of the windows inside, to paint; `withBackgrounds` has the server
/// paint the backgrounds first. Returns the sequence number of the first request: all that was painted before
/// it is asked for again.
std::uint32_t requestPaint(XcbConnection& connection, xcb_window_t window, bool withBackgrounds);

/// What of a frame with these bounds on the root lies outside the screen or below other windows, relative to
/// its top left.
RectList coveredParts(XcbConnection& connection, xcb_window_t frame, const PixelRect& frameBounds);

}  // namespace platform

#pragma once

#include "Platform/Desktop/Xcb/PixelRect.hpp"
#include "Platform/Desktop/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// How far a client's own invisible shadow reaches into its window, per side (_GTK_FRAME_EXTENTS).
struct ShadowExtents {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;

    /// The rectangle without the shadow; unchanged when nothing would remain.
    PixelRect cutFrom(const PixelRect& bounds) const;
};

/// The ancestor of `window` that is a child of the root: the window manager's frame, or the window
/// itself. XCB_NONE when the window is gone.
xcb_window_t frameOf(const XcbConnection& connection, xcb_window_t window);

/// A child of the root with its border, on the root. Absent when it is gone.
std::optional<PixelRect> outerBounds(const XcbConnection& connection, xcb_window_t frame);
PixelRect outerBounds(const xcb_get_geometry_reply_t& geometry);

ShadowExtents shadowExtents(XcbConnection& connection, xcb_window_t client);

/// Up to `limit` 32-bit values of a property; empty when the window does not have it.
std::vector<std::uint32_t> cardinals(const XcbConnection& connection, xcb_window_t window,
                                     xcb_atom_t property, std::uint32_t limit = 1024);
/// The bytes of a text property, whatever its type says; empty when the window does not have it.
std::string textProperty(const XcbConnection& connection, xcb_window_t window, xcb_atom_t property);

/// The window that owns a selection; XCB_NONE when nobody does, or the server is gone.
xcb_window_t selectionOwner(const XcbConnection& connection, xcb_atom_t selection);

/// Children from the lowest to the topmost; empty when the window is gone.
std::vector<xcb_window_t> childrenOf(const XcbConnection& connection, xcb_window_t window);

}  // namespace platform

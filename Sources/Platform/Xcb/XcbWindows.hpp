#pragma once

#include "Platform/Imaging/PixelRect.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The ancestor of `window` that is a child of the root: the window manager's frame, or the window
/// itself. XCB_NONE when the window is gone.
xcb_window_t frameOf(const XcbConnection& connection, xcb_window_t window);

/// A child of the root with its border, on the root. Absent when it is gone.
std::optional<PixelRect> outerBounds(const XcbConnection& connection, xcb_window_t frame);
PixelRect outerBounds(const xcb_get_geometry_reply_t& geometry);

/// A client's frame, and what the user sees of it as the window.
struct FramedBounds {
    PixelRect outer;  ///< of the frame, with its border, on the root
    PixelRect seen;   ///< relative to the outer top left

    PixelRect seenOnRoot() const { return seen.translated(outer.x, outer.y); }
};
/// The window as the user sees it: the client with the decorations that the window manager announces (frames
/// may have invisible rims to be gripped by), less the client's own invisible shadow. Takes one round trip.
/// Absent when one of the two is gone.
std::optional<FramedBounds> framedBounds(XcbConnection& connection, xcb_window_t client, xcb_window_t frame);

/// Up to `limit` 32-bit values of a property; empty when the window does not have it.
std::vector<std::uint32_t> cardinals(const XcbConnection& connection, xcb_window_t window,
                                     xcb_atom_t property, std::uint32_t limit = 1024);
/// What older programs set, as UTF-8: Latin-1, Hebrew of ISO 8859-8 and marked UTF-8 are read, text in other
/// sets is left out.
std::string utf8OfCompoundText(const std::string& text);
/// The bytes of a text property, whatever its type says; empty when the window does not have it.
std::string textProperty(const XcbConnection& connection, xcb_window_t window, xcb_atom_t property);

/// The window that owns a selection; XCB_NONE when nobody does, or the server is gone.
xcb_window_t selectionOwner(const XcbConnection& connection, xcb_atom_t selection);
/// Whether a compositing manager runs: it holds a selection for as long as it does.
bool isComposited(XcbConnection& connection);

/// Children from the lowest to the topmost; empty when the window is gone.
std::vector<xcb_window_t> childrenOf(const XcbConnection& connection, xcb_window_t window);

}  // namespace platform

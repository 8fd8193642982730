#pragma once

#include "Platform/Imaging/PixelRect.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <vector>

namespace platform {

/// A child of the root window.
struct TopLevel {
    xcb_window_t window = XCB_NONE;
    PixelRect bounds;  ///< with its border, on the root
    int border = 0;
    bool isShown = false;
};

/// The root's children from the lowest to the topmost, kept up to date by the server's events.
class WindowStack {
  public:
    explicit WindowStack(XcbConnection& connection);

    /// Takes note of an event; true when it was one about a child of the root.
    bool handle(const xcb_generic_event_t& event);

    const std::vector<TopLevel>& bottomToTop() const { return stack_; }
    const TopLevel* find(xcb_window_t window) const;

  private:
    std::vector<TopLevel>::iterator at(xcb_window_t window);
    void add(const TopLevel& topLevel);
    void configure(const xcb_configure_notify_event_t& notify);

    xcb_window_t root_;
    std::vector<TopLevel> stack_;
};

}  // namespace platform

#pragma once

#include "Platform/Capture/Xcb/ShmBufferPool.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Imaging/PixelRect.hpp"

namespace platform {

/// The root window's background, also where windows cover it.
class RootBackdrop {
  public:
    explicit RootBackdrop(XcbConnection& connection)
        : connection_(connection), probe_(xcb_generate_id(connection.get())) {}

    /// Draws a part of it into a picture whose top left is at (`originX`, `originY`) of the root. Where a
    /// compositing manager paints the screen, that is what a program announced as the background, or black;
    /// else what the server paints. When that cannot be had, the picture stays as it is.
    void draw(const PixelRect& part, const Plane& picture, int originX, int originY, ShmBufferPool& scratch,
              bool isComposited);
    /// Whether this is the window that is shown for an instant, to nobody, to learn of the background.
    bool isProbe(xcb_window_t window) const { return window == probe_; }

  private:
    bool readPainted(const PixelRect& part, ShmSegment& memory) const;

    XcbConnection& connection_;
    const xcb_window_t probe_;
};

}  // namespace platform

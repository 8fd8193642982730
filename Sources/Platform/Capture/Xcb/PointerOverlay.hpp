#pragma once

#include "Platform/Capture/Frames/FrameMaker.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <map>

namespace platform {

/// The pointer in grabbed frames: its picture and its place. Learns of moves from raw motion (XInput 2) and
/// of new shapes from XFixes, so a pointer at rest costs nothing.
class PointerOverlay {
  public:
    explicit PointerOverlay(const XcbConnection& connection);

    /// Takes note of an event of the pointer.
    void handle(const xcb_generic_event_t& event);
    /// Whether it moved or changed its shape since the last `update`.
    bool hasChanged() const { return hasChanged_; }

    /// Asks where the pointer is; the answer is taken by `update`. In between, other requests may be sent,
    /// so that picture and position are of one moment.
    void query();
    void update();

    /// Where its picture is now and where it was drawn last, on the root.
    PixelRect bounds() const;
    PixelRect drawnBounds() const { return drawn_; }

    /// What to draw of it into a picture of that part of the root.
    FrameMaker::Cursor cursorIn(const PixelRect& area);

  private:
    void learnShape();

    const XcbConnection& connection_;
    int cursorEvent_ = -1;
    int inputOpcode_ = -1;
    std::map<std::uint32_t, CursorImage> shapes_;  // by the server's serial number
    const CursorImage* shape_ = nullptr;
    bool hasChanged_ = true;
    bool isShapeStale_ = true;
    std::uint32_t announcedSerial_ = 0;  // 0: not known
    xcb_query_pointer_cookie_t asked_{};
    int x_ = 0;
    int y_ = 0;
    PixelRect drawn_;
};

}  // namespace platform

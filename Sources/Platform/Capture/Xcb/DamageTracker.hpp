#pragma once

#include "Platform/Imaging/PixelRect.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <optional>

#include <xcb/damage.h>

namespace platform {

/// Tells what was drawn on one drawable (and the windows inside it) since the last `clear`: as one bounding
/// box that grows, or rectangle by rectangle.
class DamageTracker {
  public:
    /// Throws PlatformError when the server has no DAMAGE.
    DamageTracker(const XcbConnection& connection, xcb_drawable_t drawable,
                  std::uint8_t level = XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX);
    ~DamageTracker();
    DamageTracker(const DamageTracker&) = delete;
    DamageTracker& operator=(const DamageTracker&) = delete;

    /// The box or rectangle, in the drawable's pixels, when the event names one.
    std::optional<PixelRect> boxOf(const xcb_generic_event_t& event) const;
    /// Begins again: what is drawn from here on is reported again.
    void clear();

  private:
    const XcbConnection& connection_;
    int event_ = -1;
    xcb_window_t damage_ = XCB_NONE;
};

}  // namespace platform

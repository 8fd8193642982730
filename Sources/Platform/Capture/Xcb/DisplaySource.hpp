#pragma once

#include "Platform/Capture/Frames/DirtyArea.hpp"
#include "Platform/Capture/Xcb/CaptureSource.hpp"
#include "Platform/Capture/Xcb/DamageTracker.hpp"
#include "Platform/Capture/Xcb/ExcludedWindows.hpp"
#include "Platform/Xcb/XcbMonitors.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <cstdint>
#include <memory>

namespace platform {

/// One monitor's part of the root window, less the windows of some applications.
class DisplaySource final : public CaptureSource {
  public:
    /// Throws PlatformError when there is no such display or the server lacks what is needed.
    DisplaySource(XcbConnection& connection, const DisplayContentFilter& filter,
                  const StreamConfiguration& configuration);

    Change change() const override;
    std::optional<GrabbedPicture> grab() override;
    void touch() override { isPictureDue_ = true; }

  private:
    void handle(const xcb_generic_event_t& event) override;
    void findDisplay();
    bool isPointerSeen();
    bool read(const RectList& areas);
    bool update();
    bool updateAround();

    const Display display_;
    FrameGrabber grabber_;
    DamageTracker damage_;
    std::unique_ptr<PointerOverlay> pointer_;
    std::unique_ptr<ExcludedWindows> excluded_;
    PixelRect area_;
    DirtyArea dirty_;  // on the root
    RectList holes_;   // where windows left out were in the last picture; on the root
    bool areMonitorsStale_ = false;
    bool areHolesStale_ = false;
    bool isPictureDue_ = true;
    int refusals_ = 0;
};

}  // namespace platform

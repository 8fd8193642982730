#pragma once

#include "Platform/Capture/Xcb/NamedPixmap.hpp"
#include "Platform/Capture/Xcb/PictureSource.hpp"
#include "Platform/Capture/Xcb/ScreenDamage.hpp"
#include "Platform/Desktop/Xcb/XcbWindows.hpp"

#include <memory>
#include <string>

namespace platform {

/// One window with its frame, read from the pixmap that Composite keeps for it, so that it does not matter
/// where it is and what covers it.
class WindowSource final : public PictureSource {
  public:
    /// Throws PlatformError when there is no such window or the server lacks what is needed.
    WindowSource(XcbConnection& connection, const WindowContentFilter& filter,
                 const StreamConfiguration& configuration);
    ~WindowSource() override;

    void handle(const xcb_generic_event_t& event) override;
    bool hasChanged() const override;
    std::optional<GrabbedPicture> grab() override;
    void touch() override { hasChanged_ = true; }

  private:
    [[noreturn]] void failGone() const;
    void followFrame();
    void leaveFrame();
    bool nameContents();
    bool isPointerSeen(const PixelRect& seen);

    XcbConnection& connection_;
    const xcb_window_t window_;
    const std::string title_;
    FrameGrabber grabber_;
    std::unique_ptr<PointerOverlay> pointer_;

    xcb_window_t frame_ = XCB_NONE;
    std::unique_ptr<ScreenDamage> damage_;
    PixelRect bounds_;  // of the frame, on the root
    ShadowExtents shadow_;
    std::optional<NamedPixmap> contents_;

    bool isShown_ = false;
    bool isGone_ = false;
    bool isFrameStale_ = false;
    bool hasChanged_ = true;
};

}  // namespace platform

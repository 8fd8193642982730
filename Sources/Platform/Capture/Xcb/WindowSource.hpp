#pragma once

#include "Platform/Capture/Frames/DirtyArea.hpp"
#include "Platform/Capture/Xcb/CaptureSource.hpp"
#include "Platform/Capture/Xcb/DamageTracker.hpp"
#include "Platform/Capture/Xcb/NamedPixmap.hpp"
#include "Platform/Capture/Xcb/UnpaintedArea.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <memory>
#include <optional>
#include <string>

namespace platform {

/// One window with its frame, read from the pixmap that Composite keeps for it, so that it does not matter
/// where it is and what covers it. Of that pixmap only what was painted since the server made it is read; at
/// other moments, and while the window is not shown, the last picture stands.
class WindowSource final : public CaptureSource {
  public:
    /// Throws PlatformError when there is no such window or the server lacks what is needed.
    WindowSource(XcbConnection& connection, const WindowContentFilter& filter,
                 const StreamConfiguration& configuration);
    ~WindowSource() override;

    Change change() const override;
    std::optional<GrabbedPicture> grab() override;
    void touch() override { isPictureDue_ = true; }

  private:
    void handle(const xcb_generic_event_t& event) override;
    [[noreturn]] void failGone() const;
    void handleStructure(const xcb_generic_event_t& event);
    void handleConfigure(const xcb_configure_notify_event_t& notify);
    void placeClient(const PixelRect& place);
    void updateFrame();
    void leaveFrame();
    void beginContents(const RectList& painted);
    void learnShape();
    void learnClient();
    void learnLayout();
    bool nameContents();
    bool isPointerSeen();
    void watchWithdrawal();
    bool isReadable() const { return isFrameShown_ && isClientShown_ && !isShaded_; }
    bool isWaitingForPaint(const RectList& unpainted);

    const xcb_window_t window_;
    const std::string title_;
    FrameGrabber grabber_;
    std::unique_ptr<PointerOverlay> pointer_;
    int shapeEvent_ = -1;

    xcb_window_t frame_ = XCB_NONE;
    std::unique_ptr<DamageTracker> damage_;
    std::uint32_t damageFrom_ = 0;  // sequence number of a request: what is reported before does not count
    PixelRect bounds_;              // of the frame, with its border, on the root
    int border_ = 0;
    PixelRect client_;  // inside the frame; like all below, relative to its outer top left
    PixelRect seen_;    // what the user sees as the window
    RectList visible_;  // the part of it inside the frame's shape
    std::optional<NamedPixmap> contents_;
    UnpaintedArea unpainted_;
    RectList presumedPainted_;  // at the beginning, for want of a painting that was seen
    DirtyArea dirty_;
    std::optional<double> incompleteSince_;
    std::optional<double> withdrawnSince_;

    bool isAskedAgain_ = false;
    bool isFrameShown_ = false;
    bool isClientShown_ = false;
    bool isShaded_ = false;
    bool isGone_ = false;
    bool isFrameStale_ = false;
    bool isClientStale_ = false;
    bool isLayoutStale_ = true;
    bool isPictureDue_ = true;
};

}  // namespace platform

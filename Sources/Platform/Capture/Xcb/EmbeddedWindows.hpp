#pragma once

#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Capture/Xcb/WindowStack.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <functional>
#include <vector>

namespace platform {

/// The windows of some applications that stand inside a bar of somebody else's: their icons in a tray.
class EmbeddedWindows {
  public:
    EmbeddedWindows(XcbConnection& connection, const std::vector<RunningApplication>& applications);

    /// Looks for them again at the next update.
    void invalidate() { isStale_ = true; }
    /// Finds out where they are now. `isOthers`: whether a top-level window belongs to somebody else.
    void update(const std::vector<TopLevel>& stack, const std::function<bool(const TopLevel&)>& isOthers);

    /// What they change of the picture, on the root: each with the pixels beside it, or all of a bar that
    /// holds nothing else.
    std::vector<PixelRect> surroundings() const;
    /// Whether a box on the root can only show one that stands in this bar.
    bool isInside(xcb_window_t bar, const PixelRect& box) const;
    /// Whether a bar is there for one of them alone: without it, it would not be seen.
    bool isForOneAlone(xcb_window_t bar) const;
    /// Covers those in a bar that has just been drawn with the bar's own pixels beside them. The picture's
    /// first pixel is this one of the root; only `part` of the root is changed.
    void cover(xcb_window_t bar, const PixelRect& part, const Plane& picture, int originX, int originY) const;

  private:
    struct Embedded {
        xcb_window_t window = XCB_NONE;
        TopLevel bar;
        PixelRect bounds;  // on the root

        bool isAlone() const;
        bool runsAcross() const { return bar.bounds.width >= bar.bounds.height; }
    };

    void search(const TopLevel& bar, xcb_window_t window, int depth);
    bool locate(Embedded& embedded, const std::vector<TopLevel>& stack) const;

    XcbConnection& connection_;
    const std::vector<RunningApplication>& applications_;
    std::vector<Embedded> found_;
    bool isStale_ = true;
};

}  // namespace platform

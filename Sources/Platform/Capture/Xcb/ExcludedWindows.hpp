#pragma once

#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Capture/Xcb/EmbeddedWindows.hpp"
#include "Platform/Capture/Xcb/RedirectedWindow.hpp"
#include "Platform/Capture/Xcb/RootBackdrop.hpp"
#include "Platform/Capture/Xcb/WindowStack.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace platform {

/// Keeps the windows of some applications out of a picture of the root: where one of them is, the picture
/// is composed again from the windows beneath and the root's background. So is the place of an icon of theirs
/// in somebody else's tray, from what is beside it. While none of them is shown this costs nothing but a look
/// at the events of top-level windows.
class ExcludedWindows {
  public:
    ExcludedWindows(XcbConnection& connection, std::vector<RunningApplication> applications);

    /// Takes note of an event; true when the picture may have changed by it.
    bool handle(const xcb_generic_event_t& event);
    /// Whether drawing inside `box` (on the root) can only have been seen in the windows left out.
    bool hides(const PixelRect& box) const;

    /// Gets ready for a picture of `area`. When `revision` is the same afterwards, once the events up to
    /// the picture have been handled, the picture can be composed.
    void prepare(const PixelRect& area);
    std::uint64_t revision() const { return revision_; }
    /// The parts of it that show a window left out, on the root.
    const RectList& holes() const { return holes_; }
    /// Composes these parts in a picture of the area. False when that has to wait a moment.
    bool compose(const Plane& picture);

  private:
    enum class Kind { leftOut, shown, invisible };
    using Clock = std::chrono::steady_clock;

    /// A place that windows left out have been moved away from.
    struct Vacated {
        PixelRect box;
        Clock::time_point since, last;
    };

    bool isExcluded(xcb_window_t window) const;
    Kind kindOf(xcb_window_t window);
    RectList coveredOf(const TopLevel& topLevel) const;
    void vacate(const PixelRect& box);
    bool composeHole(const PixelRect& hole, const Plane& picture);

    XcbConnection& connection_;
    const std::vector<RunningApplication> applications_;
    WindowStack stack_;
    EmbeddedWindows embedded_;
    RootBackdrop backdrop_;
    std::map<xcb_window_t, Kind> kinds_;  // of those that have been shown
    std::map<xcb_window_t, std::unique_ptr<RedirectedWindow>> redirected_;
    std::vector<Vacated> vacated_;
    PixelRect area_;
    RectList holes_;  // on the root, inside `area_`
    std::unique_ptr<ShmBufferPool> scratch_;
    bool isTranslucent_ = false;  // a compositing manager blends windows
    std::uint64_t revision_ = 0;
};

}  // namespace platform

#pragma once

#include "CobaltreelCore/Models.hpp"

#include <optional>
#include <vector>

namespace cobaltreel {

struct PointerSample;

/// From pointer positions to pixels of the screen movie. Pure; safe on any thread.
namespace Transforms {

/// A point in frame pixel space: pixels of the screen movie, origin top left, y down.
struct FramePoint {
    double x = 0;
    double y = 0;

    friend bool operator==(const FramePoint&, const FramePoint&) = default;
};

/// The pixel under a pointer position (global mouse space) of a recorded display. Absent outside the
/// display; its left and bottom edges are inside, its right and top edges are not.
std::optional<FramePoint> displayPixel(double mouseX, double mouseY, const DisplayFrame& frame, double scale);

/// The pixel under a pointer position (global mouse space) of a recorded window whose bounds are in
/// global window space. Absent outside the window; its left and top edges are inside.
std::optional<FramePoint> windowPixel(double mouseX, double mouseY, const WindowFrameSample& window,
                                      double mainScreenHeightPoints, double scale);

/// Where a pixel of a window that was resized while it was recorded is in the movie, into which its picture
/// is fitted: centred, keeping its proportions.
FramePoint fittedPixel(const FramePoint& point, const WindowFrameSample& window, const SessionMeta& meta);

/// One click for every press of the primary or secondary button inside the picture, in the samples'
/// order; `t` is the sample's host-clock time. In window mode a press is placed by the latest window
/// frame that is not after it, and lost when there is none; in a window that has another size than in the
/// first frame, it is where the picture that is fitted into the movie shows it.
std::vector<Click> clicks(const EventLog& log, const SessionMeta& meta, double mainScreenHeightPoints);

/// Where the pointer was in the picture, one for every sample, in host-clock time; placed as clicks are.
std::vector<PointerSample> pointer(const EventLog& log, const SessionMeta& meta,
                                   double mainScreenHeightPoints);

}  // namespace Transforms

/// Where the pointer was in the picture.
struct PointerSample {
    double t = 0;                                 ///< seconds: host clock, or output time once shifted
    std::optional<Transforms::FramePoint> point;  ///< absent outside the picture

    friend bool operator==(const PointerSample&, const PointerSample&) = default;
};

}  // namespace cobaltreel

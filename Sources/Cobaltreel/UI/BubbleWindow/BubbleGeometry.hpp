#pragma once

#include "CobaltreelCore/Models.hpp"

#include <QPoint>
#include <QRect>
#include <QSize>

namespace cobaltreel {

/// How large the bubble is and where it stands, in whole points; y runs down.
struct BubbleGeometry {
    BubbleGeometry() = delete;

    /// Between the bubble and the edges of the visible frame.
    static constexpr int margin = 24;
    /// Of the ring, which lies fully inside the bubble.
    static constexpr double ringWidth = 3;
    /// Where the bubble stands when there is no screen.
    static constexpr QRect frameWithoutScreen{0, 0, 1000, 700};

    /// As wide as high for the round style, 16:9 for the cut-out; halves are rounded away from zero.
    static QSize size(double diameter, CameraStyle style);
    /// The bubble in a corner of what panels and docks leave of the screen.
    static QRect frame(CameraCorner corner, QSize size, const QRect& visibleFrame);
};

}  // namespace cobaltreel

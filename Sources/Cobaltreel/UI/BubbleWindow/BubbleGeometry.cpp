#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"

#include <cmath>

namespace cobaltreel {

QSize BubbleGeometry::size(double diameter, CameraStyle style) {
    constexpr double aspect = 16.0 / 9.0;
    const double width = style == CameraStyle::cutout ? diameter * aspect : diameter;
    return {static_cast<int>(std::lround(width)), static_cast<int>(std::lround(diameter))};
}

QRect BubbleGeometry::frame(CameraCorner corner, QSize size, const QRect& visibleFrame) {
    const bool atLeft = corner == CameraCorner::bottomLeft || corner == CameraCorner::topLeft;
    const bool atTop = corner == CameraCorner::topLeft || corner == CameraCorner::topRight;
    const int x =
        atLeft ? visibleFrame.x() + margin : visibleFrame.x() + visibleFrame.width() - size.width() - margin;
    const int y =
        atTop ? visibleFrame.y() + margin : visibleFrame.y() + visibleFrame.height() - size.height() - margin;
    return {QPoint(x, y), size};
}

}  // namespace cobaltreel

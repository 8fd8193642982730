#include "Cobaltreel/UI/MacControls/SmoothRectangle.hpp"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace cobaltreel {
namespace {

// A corner is a quarter of a superellipse |x|^n + |y|^n = 1. With this exponent it leaves the sides without
// a jump in curvature; it is stretched so that it passes through the middle of the arc of the same radius.
constexpr double exponent = 3;
constexpr int steps = 16;

/// How much longer than the radius the corner is along a side.
double stretch() {
    const double arcGap = 1 - std::numbers::sqrt2 / 2;
    const double curveGap = 1 - std::pow(0.5, 1 / exponent);
    return arcGap / curveGap;
}

}  // namespace

void SmoothRectangle::setColor(const QColor& color) {
    if (color == color_) return;
    color_ = color;
    Q_EMIT colorChanged();
    update();
}

void SmoothRectangle::setRadius(qreal radius) {
    if (radius == radius_) return;
    radius_ = radius;
    Q_EMIT radiusChanged();
    update();
}

QPainterPath SmoothRectangle::outline(const QRectF& rectangle, qreal radius) {
    const double half = std::min(rectangle.width(), rectangle.height()) / 2;
    const double reach = std::clamp(radius * stretch(), 0.0, std::max(half, 0.0));
    const QPointF centres[]{
        rectangle.bottomRight() - QPointF(reach, reach), rectangle.bottomLeft() + QPointF(reach, -reach),
        rectangle.topLeft() + QPointF(reach, reach), rectangle.topRight() + QPointF(-reach, reach)};
    const int horizontal[]{1, -1, -1, 1};
    const int vertical[]{1, 1, -1, -1};
    QPainterPath path;
    for (int corner = 0; corner < 4; ++corner) {
        for (int step = 0; step <= steps; ++step) {
            // Clockwise on a y that points down: every second corner runs the other way.
            const int along = corner % 2 == 0 ? step : steps - step;
            const double angle = std::numbers::pi / 2 * along / steps;
            const double x = along == steps ? 0 : std::pow(std::cos(angle), 2 / exponent);
            const double y = along == 0 ? 0 : std::pow(std::sin(angle), 2 / exponent);
            const QPointF point =
                centres[corner] + reach * QPointF(horizontal[corner] * x, vertical[corner] * y);
            if (path.elementCount() == 0)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
    }
    path.closeSubpath();
    return path;
}

void SmoothRectangle::paint(QPainter* painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->fillPath(outline(QRectF(QPointF(), size()), radius_), color_);
}

}  // namespace cobaltreel

#include "Platform/Imaging/Ellipse.hpp"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <algorithm>
#include <cmath>

namespace platform {
namespace {

QColor toQColor(const Color& color) {
    const auto unit = [](double v) { return static_cast<float>(v > 0 ? std::min(v, 1.0) : 0.0); };
    return QColor::fromRgbF(unit(color.red), unit(color.green), unit(color.blue), unit(color.alpha));
}

/// The area between two ellipses; the inner one may be empty.
void fillBetween(PixelBuffer& over, const Rect& outer, const Rect& inner, const Color& color) {
    const auto isDrawable = [](const Rect& r) {
        return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.w) && std::isfinite(r.h) &&
               !r.isEmpty();
    };
    if (!isDrawable(outer)) return;
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addEllipse(QRectF(outer.x, outer.y, outer.w, outer.h));
    if (isDrawable(inner)) path.addEllipse(QRectF(inner.x, inner.y, inner.w, inner.h));
    QImage surface(over.row(0), over.width(), over.height(), over.plane().stride,
                   QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&surface);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(path, toQColor(color));
}

}  // namespace

void fillEllipse(PixelBuffer& over, const Rect& bounds, const Color& color) {
    fillBetween(over, bounds, {}, color);
}

void strokeEllipse(PixelBuffer& over, const Rect& bounds, const Color& color, double lineWidth) {
    // The painter's own pen draws a line a tenth of a pixel too thin.
    if (!bounds.isEmpty() && lineWidth > 0)
        fillBetween(over, bounds.insetBy(-lineWidth / 2), bounds.insetBy(lineWidth / 2), color);
}

}  // namespace platform

#include "Platform/Imaging/QtRaster/CanvasRaster.hpp"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <QTransform>
#include <algorithm>
#include <cmath>

namespace platform::imaging {
namespace {

QColor toQColor(const Color& color) {
    const auto unit = [](double v) { return static_cast<float>(v > 0 ? std::min(v, 1.0) : 0.0); };
    return QColor::fromRgbF(unit(color.red), unit(color.green), unit(color.blue), unit(color.alpha));
}

/// A line is filled as the ring between two ellipses: the painter's own pen draws it a tenth of a pixel
/// too thin.
QPainterPath outlineOf(const CanvasNode::Shape& shape) {
    const auto ellipse = [&](double grow) {
        const Rect r = shape.bounds.insetBy(-grow);
        return r.isEmpty() ? QRectF() : QRectF(r.x, r.y, r.w, r.h);
    };
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addEllipse(ellipse(shape.lineWidth / 2));
    if (shape.lineWidth > 0) path.addEllipse(ellipse(-shape.lineWidth / 2));
    return path;
}

}  // namespace

void rasteriseCanvas(const CanvasNode& canvas, const AxisMap& map, const Tile& tile) {
    const PixelBox area = tile.rect;
    QImage surface(tile.data, area.width(), area.height(), tile.stride, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&surface);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setTransform(QTransform(map.sx, 0, 0, map.sy, map.tx - area.left, map.ty - area.top));
    const Rect seen{static_cast<double>(area.left), static_cast<double>(area.top),
                    static_cast<double>(area.width()), static_cast<double>(area.height())};
    for (const CanvasNode::Shape& shape : canvas.shapes) {
        if (map(shape.bounds.insetBy(-shape.lineWidth / 2)).insetBy(-1).intersected(seen).isEmpty()) continue;
        painter.fillPath(outlineOf(shape), toQColor(shape.color));
    }
}

}  // namespace platform::imaging

#include "Platform/Imaging/QtRaster/CanvasRaster.hpp"

#include <QBrush>
#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QTransform>
#include <algorithm>
#include <cmath>

namespace platform::imaging {
namespace {

QColor toQColor(const Colour& colour) {
    const auto unit = [](double v) { return static_cast<float>(v > 0 ? std::min(v, 1.0) : 0.0); };
    return QColor::fromRgbF(unit(colour.red), unit(colour.green), unit(colour.blue), unit(colour.alpha));
}

}  // namespace

void rasteriseCanvas(const CanvasNode& canvas, const AxisMap& map, const Tile& tile) {
    const PixelRect area = tile.rect;
    QImage surface(tile.data, area.width(), area.height(), tile.stride, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&surface);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(QTransform(map.sx, 0, 0, map.sy, map.tx - area.left, map.ty - area.top));
    const Rect seen{static_cast<double>(area.left), static_cast<double>(area.top),
                    static_cast<double>(area.width()), static_cast<double>(area.height())};
    for (const CanvasNode::Shape& shape : canvas.shapes) {
        if (map(shape.bounds.insetBy(-shape.lineWidth / 2)).insetBy(-1).intersected(seen).isEmpty()) continue;
        const QColor colour = toQColor(shape.colour);
        if (shape.lineWidth > 0) {
            painter.setPen(QPen(colour, shape.lineWidth));
            painter.setBrush(Qt::NoBrush);
        } else {
            painter.setPen(Qt::NoPen);
            painter.setBrush(colour);
        }
        painter.drawEllipse(QRectF(shape.bounds.x, shape.bounds.y, shape.bounds.w, shape.bounds.h));
    }
}

}  // namespace platform::imaging

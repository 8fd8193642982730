#include "Cobaltreel/UI/MacControls/Icon.hpp"

#include "Cobaltreel/UI/MacControls/IconArt.hpp"

#include <QPainter>

namespace cobaltreel {

void Icon::setName(const QString& name) {
    if (name == name_) return;
    name_ = name;
    Q_EMIT nameChanged();
    update();
}

void Icon::setColor(const QColor& color) {
    if (color == color_) return;
    color_ = color;
    Q_EMIT colorChanged();
    update();
}

void Icon::paint(QPainter* painter) {
    const qreal density = painter->device()->devicePixelRatio();
    const QSize pixels = (size() * density).toSize();
    painter->drawImage(QRectF(QPointF(), size()), IconArt::image(name_, pixels, color_));
}

}  // namespace cobaltreel

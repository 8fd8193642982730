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

void Icon::setColour(const QColor& colour) {
    if (colour == colour_) return;
    colour_ = colour;
    Q_EMIT colourChanged();
    update();
}

void Icon::paint(QPainter* painter) {
    const qreal density = painter->device()->devicePixelRatio();
    const QSize pixels = (size() * density).toSize();
    painter->drawImage(QRectF(QPointF(), size()), IconArt::image(name_, pixels, colour_));
}

}  // namespace cobaltreel

#include "Cobaltreel/UI/MacControls/Knob.hpp"

#include "Cobaltreel/UI/MacControls/SoftShadow.hpp"

#include <QPainter>

namespace cobaltreel {

Knob::Knob(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &Knob::lookChanged, this, &Knob::onLookChanged);
}

void Knob::onLookChanged() {
    setImplicitSize(diameter_ + 2 * margin(), diameter_ + 2 * margin());
    update();
}

void Knob::paint(QPainter* painter) {
    const qreal density = painter->device()->devicePixelRatio();
    QImage disc((size() * density).toSize(), QImage::Format_ARGB32_Premultiplied);
    if (disc.isNull()) return;
    disc.setDevicePixelRatio(density);
    disc.fill(Qt::transparent);
    QPainter discPainter(&disc);
    discPainter.setRenderHint(QPainter::Antialiasing);
    discPainter.setPen(Qt::NoPen);
    discPainter.setBrush(dimmed_ ? QColor::fromRgbF(0.5F, 0.5F, 0.5F) : QColor(Qt::white));
    discPainter.drawEllipse(QRectF(QPointF(), size()).center(), diameter_ / 2, diameter_ / 2);
    discPainter.end();

    QColor black = Qt::black;
    black.setAlphaF(static_cast<float>(shadowOpacity_));
    painter->drawImage(QPointF(0, shadowOffset_), SoftShadow::cast(disc, shadowRadius_ * density, black));
    painter->drawImage(QPointF(), disc);
}

}  // namespace cobaltreel

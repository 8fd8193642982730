#include "Cobaltreel/UI/PreviewWindow/CircularBubbleView.hpp"

#include "Cobaltreel/Support/Colors.hpp"
#include "Cobaltreel/UI/Windows/QtColor.hpp"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>

namespace cobaltreel {
namespace {

constexpr qreal ringWidth = 2;

}  // namespace

CircularBubbleView::CircularBubbleView(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void CircularBubbleView::setSource(PictureSource* source) {
    if (source == source_) return;
    if (source_) source_->disconnect(this);
    source_ = source;
    if (source_) connect(source_, &PictureSource::pictureChanged, this, [this] { update(); });
    requestSize();
    update();
    Q_EMIT sourceChanged();
}

void CircularBubbleView::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickPaintedItem::geometryChange(now, before);
    requestSize();
    update();
}

void CircularBubbleView::requestSize() {
    if (!source_ || size().isEmpty()) return;
    // Twice the circle: whichever way a picture of up to 2:1 lies, it fills the circle without being
    // enlarged.
    const double density = window() ? window()->effectiveDevicePixelRatio() : 1;
    const int side = static_cast<int>(std::ceil(2 * std::min(width(), height()) * density));
    source_->setWantedSize(QSize(side, side));
}

void CircularBubbleView::paint(QPainter* painter) {
    const QImage picture = source_ ? source_->picture() : QImage();
    if (picture.isNull()) return;
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const double side = std::min(width(), height());
    const QRectF circle((width() - side) / 2, (height() - side) / 2, side, side);

    // The middle of the picture, as large as its smaller side.
    const int cut = std::min(picture.width(), picture.height());
    const QRectF middle((picture.width() - cut) / 2.0, (picture.height() - cut) / 2.0, cut, cut);
    QPainterPath outline;
    outline.addEllipse(circle);
    QBrush brush(picture);
    QTransform place;
    place.translate(circle.x(), circle.y());
    place.scale(side / cut, side / cut);
    place.translate(-middle.x(), -middle.y());
    brush.setTransform(place);
    painter->fillPath(outline, brush);

    painter->setPen(QPen(qtColor(Colors::ring), ringWidth));
    painter->setBrush(Qt::NoBrush);
    painter->drawEllipse(circle.adjusted(ringWidth / 2, ringWidth / 2, -ringWidth / 2, -ringWidth / 2));
}

}  // namespace cobaltreel

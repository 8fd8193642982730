#include "Cobaltreel/UI/PreviewWindow/CircularBubbleView.hpp"

#include "Cobaltreel/UI/Windows/QtImage.hpp"

#include <QPainter>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <memory>

namespace cobaltreel {
namespace {

constexpr double ringWidth = 2;  // points

}  // namespace

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
    const double density = window() ? window()->effectiveDevicePixelRatio() : 1;
    const int side = std::max(1, static_cast<int>(std::lround(std::min(width(), height()) * density)));
    if (!bubble_ || bubble_->width() != side)
        bubble_.emplace(side, side, RoundBubble::Shape::filling(side, side, ringWidth * density));
    const auto drawn = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::bgra, side, side);
    const platform::PixelBuffer camera = bufferOver(picture);
    bubble_->draw(&camera, *drawn, resampler_);
    QImage round = imageOver(drawn, QImage::Format_ARGB32_Premultiplied);
    round.setDevicePixelRatio(density);
    painter->drawImage(QPointF((width() - side / density) / 2, (height() - side / density) / 2), round);
}

}  // namespace cobaltreel

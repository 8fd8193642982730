#include "Cobaltreel/UI/BubbleWindow/BubbleWindow.hpp"

#include "Cobaltreel/UI/BubbleWindow/BubbleGeometry.hpp"

#include <QBitmap>
#include <QBrush>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QRegion>
#include <QSurfaceFormat>

namespace cobaltreel {
namespace {

const QColor ringColour = QColor::fromRgbF(212 / 255.0F, 160 / 255.0F, 23 / 255.0F, 0.9F);

/// A window system takes an empty outline for none; this one lies outside of every window.
const QRegion nothing{-2, -2, 1, 1};

/// What a pixel must cover to be inside the outline, of 255. With blending every trace of a pixel is;
/// without, the half that shows more of the person than of the room.
constexpr int leastAlphaBlended = 1, leastAlphaAlone = 128;

}  // namespace

BubbleWindow::BubbleWindow(CameraStyle style, bool blended) : style_(style), blended_(blended) {
    QSurfaceFormat withAlpha = format();
    withAlpha.setAlphaBufferSize(blended ? 8 : 0);
    setFormat(withAlpha);
    // Past the window manager: it would keep the window below full-screen ones, and on one desktop.
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowStaysOnTopHint |
             Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint);
    setTitle(QStringLiteral("Cobaltreel"));
}

void BubbleWindow::place(const QRect& frame) {
    setGeometry(frame);
    cutToOutline();
}

void BubbleWindow::setPicture(const QImage& picture) {
    picture_ = blended_ || style_ == CameraStyle::bubble
                   ? picture
                   : picture.convertToFormat(QImage::Format_ARGB32);  // the edges in their full colour
    if (style_ == CameraStyle::cutout) cutToOutline();
    update();
}

void BubbleWindow::cutToOutline() {
    if (style_ == CameraStyle::cutout)
        setMask(personOutline());
    else  // one more on every side: the smooth edge belongs to the circle
        setMask(QRegion(QRect(QPoint(), size()).adjusted(-1, -1, 1, 1), QRegion::Ellipse)
                    .intersected(QRect(QPoint(), size())));
}

QRectF BubbleWindow::fitted() const {
    const QSizeF room = size(), fit = QSizeF(picture_.size()).scaled(room, Qt::KeepAspectRatio);
    return {QPointF((room.width() - fit.width()) / 2, (room.height() - fit.height()) / 2), fit};
}

QRegion BubbleWindow::personOutline() const {
    if (picture_.isNull()) return nothing;
    const QRect place = fitted().toRect();
    const QImage person = picture_.size() == place.size() ? picture_ : picture_.scaled(place.size());
    const int least = blended_ ? leastAlphaBlended : leastAlphaAlone;
    QRegion outline;
    QList<QRect> runs;
    for (int y = 0; y < person.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(person.constScanLine(y));
        for (int x = 0; x < person.width();) {
            while (x < person.width() && qAlpha(line[x]) < least) ++x;
            const int first = x;
            while (x < person.width() && qAlpha(line[x]) >= least) ++x;
            if (x > first) runs.append(QRect(first, y, x - first, 1));
        }
    }
    outline.setRects(runs.constData(), static_cast<int>(runs.size()));
    return outline.isEmpty() ? nothing : outline.translated(place.topLeft());
}

void BubbleWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect(QPoint(), size()), blended_ ? Qt::transparent : Qt::black);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (style_ == CameraStyle::bubble) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        paintRound(painter);
    } else if (!picture_.isNull()) {
        painter.drawImage(fitted(), blended_ ? picture_ : picture_.convertToFormat(QImage::Format_RGB32));
    }
}

void BubbleWindow::paintRound(QPainter& painter) const {
    const QRectF whole(QPointF(), size());
    painter.setPen(Qt::NoPen);
    QBrush fill(Qt::black);
    if (!picture_.isNull()) {
        fill = QBrush(picture_);
        fill.setTransform(
            QTransform::fromScale(whole.width() / picture_.width(), whole.height() / picture_.height()));
    }
    painter.setBrush(fill);
    painter.drawEllipse(whole);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ringColour, BubbleGeometry::ringWidth));
    constexpr double inset = BubbleGeometry::ringWidth / 2;
    painter.drawEllipse(whole.adjusted(inset, inset, -inset, -inset));
}

void BubbleWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) grip_ = event->globalPosition().toPoint() - position();
}

void BubbleWindow::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) setPosition(event->globalPosition().toPoint() - grip_);
}

}  // namespace cobaltreel

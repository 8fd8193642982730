#include "Cobaltreel/UI/BubbleWindow/BubbleWindow.hpp"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QRegion>
#include <QSurfaceFormat>

namespace cobaltreel {
namespace {

/// A window system takes an empty outline for none; this one lies outside of every window.
const QRegion nothing{-2, -2, 1, 1};

/// What a pixel must cover to be inside the outline, of 255. With blending every trace of a pixel is;
/// without, the half that shows more of the picture than of what is around it.
constexpr int minAlphaBlended = 1, minAlphaAlone = 128;

}  // namespace

BubbleWindow::BubbleWindow(CameraStyle style, bool blended) : style_(style), blended_(blended) {
    QSurfaceFormat withAlpha = format();
    withAlpha.setAlphaBufferSize(blended ? 8 : 0);
    setFormat(withAlpha);
    // Past the window manager: it would keep the window below full-screen ones, and on one desktop.
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowStaysOnTopHint |
             Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint);
    setTitle(QStringLiteral("Cobaltreel"));
    // Of our other windows' coming, moving and going.
    qApp->installEventFilter(this);
}

void BubbleWindow::place(const QRect& frame) {
    setGeometry(frame);
    cutOut();
}

void BubbleWindow::setPicture(const QImage& picture) {
    // A person moves; the circle stays as long as its size does.
    const bool hasOtherOutline = style_ == CameraStyle::cutout || picture.size() != picture_.size();
    // Without blending the edges are seen in their full color.
    picture_ = blended_ ? picture : picture.convertToFormat(QImage::Format_ARGB32);
    if (hasOtherOutline) cutOut();
    update();
}

void BubbleWindow::cutOut() {
    QRegion seen = outline() - coveredByOurs();
    if (seen.isEmpty()) seen = nothing;
    if (seen == mask()) return;
    setMask(seen);
    // What was cut out until now has no picture: under a compositing manager it may stay black.
    update();
}

/// By the order of the windows it cannot be done: some window managers keep windows that pass them by in
/// front of all others.
QRegion BubbleWindow::coveredByOurs() const {
    QRegion covered;
    for (const QWindow* const other : QGuiApplication::topLevelWindows()) {
        const bool goesBefore =
            other->modality() != Qt::NonModal || other->flags().testFlag(Qt::WindowStaysOnTopHint);
        // Those that pass the window manager by, too, come above by themselves.
        const bool isManaged = !other->flags().testFlag(Qt::BypassWindowManagerHint);
        if (goesBefore && isManaged && other->isVisible()) covered += other->frameGeometry();
    }
    return covered.translated(-position());
}

bool BubbleWindow::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::Show:
        case QEvent::Hide:
        case QEvent::Expose:
        case QEvent::Move:
        case QEvent::Resize:
            if (watched->isWindowType() && watched != this) cutOut();
            break;
        default:
            break;
    }
    return QRasterWindow::eventFilter(watched, event);
}

void BubbleWindow::moveEvent(QMoveEvent* event) {
    QRasterWindow::moveEvent(event);
    cutOut();
}

QRectF BubbleWindow::fitted() const {
    const QSizeF room = size(), fit = QSizeF(picture_.size()).scaled(room, Qt::KeepAspectRatio);
    return {QPointF((room.width() - fit.width()) / 2, (room.height() - fit.height()) / 2), fit};
}

QRegion BubbleWindow::outline() const {
    if (picture_.isNull()) return nothing;
    const QRect place = fitted().toRect();
    const QImage shape = picture_.size() == place.size() ? picture_ : picture_.scaled(place.size());
    const int least = blended_ ? minAlphaBlended : minAlphaAlone;
    QList<QRect> runs;
    for (int y = 0; y < shape.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(shape.constScanLine(y));
        for (int x = 0; x < shape.width();) {
            while (x < shape.width() && qAlpha(line[x]) < least) ++x;
            const int first = x;
            while (x < shape.width() && qAlpha(line[x]) >= least) ++x;
            if (x > first) runs.append(QRect(first, y, x - first, 1));
        }
    }
    if (runs.isEmpty()) return nothing;
    QRegion region;
    region.setRects(runs.constData(), static_cast<int>(runs.size()));
    return region.translated(place.topLeft());
}

void BubbleWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QRectF place = fitted();
    if (picture_.isNull() || place != QRectF(QPointF(), size()))
        painter.fillRect(QRect(QPoint(), size()), blended_ ? Qt::transparent : Qt::black);
    if (picture_.isNull()) return;
    if (picture_.size() != (place.size() * devicePixelRatio()).toSize())
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QImage drawn = picture_;
    if (!blended_) drawn.reinterpretAsFormat(QImage::Format_RGB32);
    painter.drawImage(place, drawn);
}

void BubbleWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) grip_ = event->globalPosition().toPoint() - position();
}

void BubbleWindow::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) setPosition(event->globalPosition().toPoint() - grip_);
}

}  // namespace cobaltreel

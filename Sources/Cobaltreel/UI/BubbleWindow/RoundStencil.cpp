#include "Cobaltreel/UI/BubbleWindow/RoundStencil.hpp"

#include "Cobaltreel/Support/Colors.hpp"
#include "Cobaltreel/UI/Windows/QtColor.hpp"

#include <QPainter>
#include <QPen>

namespace cobaltreel {
RoundStencil::RoundStencil(QSize size, double ringWidth)
    : ring_(size, QImage::Format_ARGB32_Premultiplied), remains_(size, QImage::Format_Alpha8) {
    const QRectF whole(QPointF(), size);
    ring_.fill(Qt::transparent);
    {
        QPainter painter(&ring_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(qtColor(Colors::ring), ringWidth));
        const double inset = ringWidth / 2;
        painter.drawEllipse(whole.adjusted(inset, inset, -inset, -inset));
    }
    remains_.fill(0);
    {
        QPainter painter(&remains_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(whole);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        painter.drawImage(0, 0, ring_);
    }
}

void RoundStencil::cut(QImage& picture) const {
    for (int y = 0; y < ring_.height(); ++y) {
        auto* pixels = reinterpret_cast<QRgb*>(picture.scanLine(y));
        const auto* ring = reinterpret_cast<const QRgb*>(ring_.constScanLine(y));
        const uchar* remains = remains_.constScanLine(y);
        for (int x = 0; x < ring_.width(); ++x) {
            if (remains[x] == 255) continue;
            const int part = remains[x];
            const auto share = [part](int value) { return value * part / 255; };
            const QRgb pixel = pixels[x];
            // Both parts are premultiplied and of one pixel: the sum stays below one.
            pixels[x] = ring[x] + qRgba(share(qRed(pixel)), share(qGreen(pixel)), share(qBlue(pixel)), part);
        }
    }
}

QImage RoundStencil::empty() const {
    QImage black(size(), QImage::Format_ARGB32_Premultiplied);
    black.fill(Qt::black);
    cut(black);
    return black;
}

}  // namespace cobaltreel

#include "Cobaltreel/UI/CountdownWindow/CountdownDigit.hpp"

#include "Cobaltreel/UI/MacControls/SoftShadow.hpp"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

namespace cobaltreel {
namespace {

constexpr qreal shadowRadius = 20;
constexpr float shadowOpacity = 0.33F;

}  // namespace

CountdownDigit::CountdownDigit(QQuickItem* parent) : QQuickPaintedItem(parent) {
    // Room for the widest digit, so that the item stands still while it counts.
    const QFontMetricsF metrics(font());
    setImplicitSize(std::ceil(metrics.horizontalAdvance(QLatin1Char('0'))) + 3 * shadowRadius,
                    std::ceil(metrics.height()) + 3 * shadowRadius);
}

QFont CountdownDigit::font() {
    QFont font;
    for (const char* family : {"Nunito", "Varela Round", "Quicksand"}) {
        if (!QFontDatabase::hasFamily(QString::fromLatin1(family))) continue;
        font.setFamily(QString::fromLatin1(family));
        break;
    }
    font.setPixelSize(160);
    font.setWeight(QFont::Bold);
    return font;
}

void CountdownDigit::setDigit(int digit) {
    if (digit == digit_) return;
    digit_ = digit;
    Q_EMIT digitChanged();
    update();
}

void CountdownDigit::paint(QPainter* painter) {
    const qreal density = painter->device()->devicePixelRatio();
    QImage picture((size() * density).toSize(), QImage::Format_ARGB32_Premultiplied);
    if (picture.isNull()) return;
    picture.setDevicePixelRatio(density);
    picture.fill(Qt::transparent);
    QPainter textPainter(&picture);
    textPainter.setRenderHint(QPainter::TextAntialiasing);
    textPainter.setFont(font());
    textPainter.setPen(Qt::white);
    textPainter.drawText(QRectF(QPointF(), size()), Qt::AlignCenter, QString::number(digit_));
    textPainter.end();

    QColor black = Qt::black;
    black.setAlphaF(shadowOpacity);
    painter->drawImage(QPointF(), SoftShadow::cast(picture, shadowRadius * density, black));
    painter->drawImage(QPointF(), picture);
}

}  // namespace cobaltreel

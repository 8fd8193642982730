#include "Cobaltreel/UI/MacControls/IconArt.hpp"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>

namespace cobaltreel {

QImage IconArt::image(const QString& name, QSize pixels, const QColor& color) {
    const QString file =
        QStringLiteral(":/qt-project.org/imports/Cobaltreel/Controls/icons/%1.svg").arg(name);
    if (pixels.isEmpty() || !QFile::exists(file)) return {};
    QSvgRenderer picture(file);
    if (!picture.isValid()) return {};

    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const int side = std::min(pixels.width(), pixels.height());
    picture.render(&painter, QRectF((pixels.width() - side) / 2, (pixels.height() - side) / 2, side, side));
    // The pictures are drawn white; their coverage takes the color.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

}  // namespace cobaltreel

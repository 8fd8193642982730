// RenderIcon SVG SIDE PNG: draws the application's icon as a square of so many pixels.
#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: RenderIcon SVG SIDE PNG\n", stderr);
        return 2;
    }
    QSvgRenderer icon(QString::fromLocal8Bit(argv[1]));
    const int side = QString::fromLocal8Bit(argv[2]).toInt();
    if (!icon.isValid() || side <= 0) {
        std::fprintf(stderr, "RenderIcon: %s cannot be drawn with %s pixels\n", argv[1], argv[2]);
        return 1;
    }
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    icon.render(&painter);
    painter.end();
    if (image.save(QString::fromLocal8Bit(argv[3]), "PNG")) return 0;
    std::fprintf(stderr, "RenderIcon: %s cannot be written\n", argv[3]);
    return 1;
}

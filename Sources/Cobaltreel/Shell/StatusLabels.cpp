#include "Cobaltreel/Shell/StatusLabels.hpp"

#include "Cobaltreel/Shell/CobaltreelApp.hpp"
#include "Cobaltreel/UI/MacControls/IconArt.hpp"

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QString>
#include <algorithm>
#include <cstring>

namespace cobaltreel::StatusLabels {
namespace {

const QColor edge(0, 0, 0, 150);
const QColor recordingColor(214, 40, 34);

void drawSymbol(QPainter& painter, const QString& name, int side) {
    // One dark copy a pixel off to each side makes the edge.
    const int thickness = std::max(1, side / 24);
    const QSize inner(side - 2 * thickness, side - 2 * thickness);
    const QImage dark = IconArt::image(name, inner, edge);
    for (const int x : {0, thickness, 2 * thickness})
        for (const int y : {0, thickness, 2 * thickness}) painter.drawImage(x, y, dark);
    painter.drawImage(thickness, thickness, IconArt::image(name, inner, Qt::white));
}

/// Fills `area` with the outlines of a few digits.
void drawDigits(QPainter& painter, const QString& digits, const QRectF& area) {
    QFont font;
    font.setStyleHint(QFont::SansSerif);
    font.setBold(true);
    font.setPixelSize(100);  // of outlines: any size will do
    QPainterPath outline;
    outline.addText(0, 0, font, digits);
    const QRectF ink = outline.boundingRect();
    // Up to a third wider or narrower than the font has them: size is what makes small digits readable.
    const double high = area.height() / ink.height();
    const double wide = std::clamp(area.width() / ink.width(), high * 0.67, high * 1.33);
    painter.translate(area.center());
    painter.scale(wide, high);
    painter.translate(-ink.center());
    painter.fillPath(outline, Qt::white);
    painter.resetTransform();
}

void drawSquare(QPainter& painter, int side) {
    QPainterPath square;
    square.addRoundedRect(0, 0, side, side, side * 0.18, side * 0.18);
    painter.fillPath(square, recordingColor);
}

void drawStill(QPainter& painter, const QString& name, int side) {
    drawSquare(painter, side);
    const int margin = side / 7;
    const QSize inner(side - 2 * margin, side - 2 * margin);
    painter.drawImage(margin, margin, IconArt::image(name, inner, Qt::white));
}

void drawTime(QPainter& painter, const QString& time, int side) {
    drawSquare(painter, side);
    const double margin = std::max(1.5, side * 0.09), gap = std::max(1.0, side * 0.06);
    const double line = (side - 2 * margin - gap) / 2;
    const QString minutes = time.section(QLatin1Char(':'), 0, 0), seconds = time.section(QLatin1Char(':'), 1);
    drawDigits(painter, minutes, QRectF(margin, margin, side - 2 * margin, line));
    drawDigits(painter, seconds, QRectF(margin, margin + line + gap, side - 2 * margin, line));
}

}  // namespace

platform::StatusLabel label(RecordingCoordinator::State state, double elapsed) {
    if (state == RecordingCoordinator::State::recording)
        return {"record.circle.fill", CobaltreelApp::timeString(elapsed)};
    return {"record.circle", ""};
}

platform::StatusPicture draw(const platform::StatusLabel& label, int side) {
    if (side <= 0) return {};
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const QString symbol = QString::fromStdString(label.symbol);
        if (label.isStill)
            drawStill(painter, symbol, side);
        else if (label.text.empty())
            drawSymbol(painter, symbol, side);
        else
            drawTime(painter, QString::fromStdString(label.text), side);
    }
    const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    platform::StatusPicture picture{side, std::vector<std::uint32_t>(count)};
    // Rows of 32-bit pixels have no padding.
    std::memcpy(picture.pixels.data(), image.constBits(), count * sizeof(std::uint32_t));
    return picture;
}

}  // namespace cobaltreel::StatusLabels

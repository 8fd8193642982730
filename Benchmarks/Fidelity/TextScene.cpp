#include "Fidelity/TextScene.hpp"

#include "Platform/Imaging/ConvertPixels.hpp"

#include <QFont>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>

namespace fidelity {
namespace {

struct Scheme {
    QRgb paper, ink, accent;
};
constexpr std::array<Scheme, 4> schemes{{{0xffffffff, 0xff1a1a1a, 0xff0550ae},
                                         {0xff1e1e2e, 0xffd0d4e0, 0xff89dceb},
                                         {0xff00308f, 0xffffd166, 0xffff6b6b},
                                         {0xffc8e6c9, 0xff7b1f1f, 0xff1a237e}}};

// The take moves for a second and stands for two, again and again; sixty pictures a second.
constexpr int movingSteps = 60, roundSteps = 180;
constexpr int stepsPerCharacter = 6, charactersPerLine = 8;  // then a pause, in steps of the round

int movedSteps(int step) {
    return step / roundSteps * movingSteps + std::min(step % roundSteps, movingSteps);
}

}  // namespace

TextScene::TextScene(Take take, int width, int height, QStringList text)
    : take_(take), width_(width), height_(height), text_(std::move(text)) {
    still_ = desktop();
    if (take == Take::scrolling) page_ = scrolledPage();
}

double TextScene::interval() const { return take_ == Take::cursor ? 0.5 : 1.0 / 60; }

void TextScene::paintPage(QPainter& painter, const QRect& area, int scheme, double points, bool monospaced,
                          int firstParagraph) const {
    const Scheme& colors = schemes[static_cast<std::size_t>(scheme)];
    painter.save();
    painter.setClipRect(area);
    painter.fillRect(area, QColor::fromRgb(colors.paper));
    QFont font(monospaced ? QStringLiteral("DejaVu Sans Mono") : QStringLiteral("DejaVu Sans"));
    font.setPixelSize(static_cast<int>(std::lround(points * 96 / 72)));
    painter.setFont(font);
    const int lineHeight = painter.fontMetrics().lineSpacing();
    int paragraph = firstParagraph;
    for (int y = area.top() + lineHeight; y < area.bottom() + lineHeight; y += lineHeight, ++paragraph) {
        const QString& line = text_[paragraph % text_.size()];
        painter.setPen(QColor::fromRgb(paragraph % 5 == 3 ? colors.accent : colors.ink));
        painter.drawText(area.left() + 10, y, line);
    }
    painter.restore();
}

QImage TextScene::desktop() const {
    QImage picture(width_, height_, QImage::Format_RGB32);
    QPainter painter(&picture);
    const int column = width_ / 4, row = height_ / 2;
    paintPage(painter, {0, 0, 2 * column, height_}, 0, 11, true, 0);
    paintPage(painter, {2 * column, 0, column, row}, 1, 10, true, 40);
    paintPage(painter, {3 * column, 0, width_ - 3 * column, row / 2}, 2, 13, false, 80);
    paintPage(painter, {3 * column, row / 2, width_ - 3 * column, row - row / 2}, 3, 9, false, 95);
    paintPage(painter, {2 * column, row, 2 * column, height_ - row}, 0, 9, false, 120);
    paintPage(painter, {2 * column, height_ - row / 4, 2 * column, row / 4}, 1, 20, false, 180);
    return picture;
}

QImage TextScene::scrolledPage() const {
    QImage page(width_, 3 * height_, QImage::Format_RGB32);
    QPainter painter(&page);
    paintPage(painter, page.rect(), 0, 11, true, 0);
    paintPage(painter, {width_ / 2, 0, width_ / 4, 3 * height_}, 1, 10, true, 40);
    paintPage(painter, {width_ * 3 / 4, 0, width_ / 4, 3 * height_}, 3, 9, false, 95);
    return page;
}

/// Faster and slower, as a wheel does it.
int TextScene::scrolled(int step) const {
    const int rounds = step / roundSteps, within = std::min(step % roundSteps, movingSteps);
    const double part = static_cast<double>(within) / movingSteps;
    const double eased = part * part * (3 - 2 * part);
    const int span = height_ * 2 / 5, travelled = rounds * span + static_cast<int>(std::lround(eased * span));
    const int turn = 2 * height_;
    const int place = travelled % (2 * turn);
    return place < turn ? place : 2 * turn - place;
}

int TextScene::typed(int step) const {
    return step / roundSteps * charactersPerLine +
           std::min(step % roundSteps / stepsPerCharacter, charactersPerLine);
}

int TextScene::dragged(int step) const { return movedSteps(step) * 7 % (width_ - width_ / 3); }

int TextScene::lastChange(int step) const {
    const int round = step / roundSteps * roundSteps, within = step % roundSteps;
    switch (take_) {
        case Take::cursor:
        case Take::video:
            return 0;
        case Take::typing:
            return round + std::min(within, stepsPerCharacter * charactersPerLine);
        default:
            return round + std::min(within, movingSteps);
    }
}

QImage TextScene::picture(int step) const {
    if (take_ == Take::scrolling) return page_.copy(0, scrolled(step), width_, height_);
    QImage picture = still_;
    QPainter painter(&picture);
    const QRect typingArea(30, height_ / 3, width_ / 2 - 60, 30);
    switch (take_) {
        case Take::cursor:
            if (step % 2 == 0) painter.fillRect(typingArea.left() + 200, typingArea.top(), 9, 18, Qt::black);
            break;
        case Take::typing: {
            painter.fillRect(typingArea, Qt::white);
            QFont font(QStringLiteral("DejaVu Sans Mono"));
            font.setPixelSize(15);
            painter.setFont(font);
            painter.setPen(Qt::black);
            const QString all = text_.join(' ');
            const int from = typed(step) / 60 * 60;
            painter.drawText(typingArea.left(), typingArea.bottom() - 8,
                             all.mid(from, typed(step) - from + 1));
            break;
        }
        case Take::moving: {
            const QRect window(dragged(step), height_ / 4, width_ / 3, height_ / 3);
            paintPage(painter, window, 1, 11, true, 300);
            painter.fillRect(QRect(window.left(), window.top() - 24, window.width(), 24),
                             QColor(0x30, 0x60, 0xa0));
            break;
        }
        default: {
            // What a camera sees: slopes that drift, at thirty pictures a second.
            const QRect video(width_ * 3 / 4 - 20, height_ * 3 / 4 - 20, width_ / 4, height_ / 4);
            const double t = step / 2 / 30.0;
            for (int y = video.top(); y < video.bottom(); ++y) {
                auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
                for (int x = video.left(); x < video.right(); ++x) {
                    const double wave = std::sin(x * 0.021 + 2 * t) + std::sin(y * 0.034 - 3 * t) +
                                        std::sin((x + y) * 0.013 + t);
                    const int level = 128 + static_cast<int>(40 * wave);
                    line[x] = qRgb(level, (level + x / 4) & 0xff, 255 - level);
                }
            }
            break;
        }
    }
    return picture;
}

platform::PixelBufferRef asVideo(const QImage& picture) {
    const platform::Plane pixels{const_cast<std::uint8_t*>(picture.constBits()),
                                 static_cast<int>(picture.bytesPerLine()), picture.width(), picture.height()};
    const platform::PixelBuffer screen(platform::PixelFormat::bgra, picture.width(), picture.height(),
                                       {pixels}, nullptr);
    auto video = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::i420, picture.width(),
                                                         picture.height());
    platform::convertPixels(screen, *video);
    return video;
}

}  // namespace fidelity

#include "Fidelity/Ssim.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"
#include "Platform/Media/MovieFixture.hpp"

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <algorithm>

namespace platform::test {
namespace {

using fidelity::Similarity;

constexpr int width = 1280, height = 720;

/// Text of the field: nothing here was chosen to be easy.
QStringList someText() {
    QStringList lines;
    for (int i = 0; i < 60; ++i)
        lines << QStringLiteral(
                     "%1  if (auto it = map_.find(key); it != map_.end() && !it->second.empty()) {")
                     .arg(i)
              << QStringLiteral(
                     "%1      return std::clamp<std::int64_t>(it->second.back() - offset, 0, ~0U >> 1);")
                     .arg(i)
              << QStringLiteral("%1  } // \"_\" | '{' | '}' — 0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ").arg(i);
    return lines;
}

/// A page of text, twice as high as the screen: large and small, proportional and monospaced, dark on light,
/// light on dark and colored on colored.
class Page {
  public:
    Page() {
        const struct {
            const char* font;
            int points;
            QRgb paper, ink;
        } columns[] = {{"DejaVu Sans Mono", 11, 0xffffffff, 0xff1a1a1a},
                       {"DejaVu Sans Mono", 10, 0xff1e1e2e, 0xffd0d4e0},
                       {"DejaVu Sans", 20, 0xff00308f, 0xffffd166},
                       {"DejaVu Sans", 9, 0xffc8e6c9, 0xff7b1f1f}};
        const QStringList text = someText();
        QPainter painter(&image_);
        for (int i = 0; i < 4; ++i) {
            const QRect area(i * width / 4, 0, width / 4, 2 * height);
            painter.setClipRect(area);
            painter.fillRect(area, columns[i].paper);
            painter.setPen(QColor::fromRgb(columns[i].ink));
            QFont font(QString::fromLatin1(columns[i].font));
            font.setPixelSize(columns[i].points * 96 / 72);
            painter.setFont(font);
            const int lineHeight = painter.fontMetrics().lineSpacing();
            for (int line = 0; line * lineHeight < 2 * height; ++line)
                painter.drawText(area.left() + 10, (line + 1) * lineHeight, text[line % text.size()]);
        }
    }
    void drawCursor(bool isShown) {
        QPainter(&image_).fillRect(230, 240, 9, 18, isShown ? Qt::black : Qt::white);
    }
    /// What the screen shows of it, as a movie holds it at its best.
    PixelBufferRef from(int top) const {
        Plane screen = pixels_.plane();
        screen.data += static_cast<std::ptrdiff_t>(top) * screen.stride;
        screen.height = height;
        auto video = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
        convertPixels(PixelBuffer(PixelFormat::bgra, width, height, {screen}, nullptr), *video);
        return video;
    }

  private:
    PixelBuffer pixels_{PixelFormat::bgra, width, 2 * height};
    QImage image_{pixels_.plane().data, width, 2 * height, pixels_.plane().stride, QImage::Format_RGB32};
};

class Fidelity : public MovieTest {
  protected:
    /// Writes `picture` of each step through the settings of a screen recording and returns the worst
    /// similarity among the pictures of the steps that count.
    Similarity worstOfRecording(const std::function<PixelBufferRef(int)>& picture, int steps, double interval,
                                std::int64_t bitRate, const std::function<bool(int)>& counts) {
        const auto path = file("take.mov");
        const auto [writer, video, audio] =
            begin(path, FileType::quickTimeMovie,
                  VideoSettings{VideoCodec::hevc, width, height, bitRate, 60, false, true});
        for (int step = 0; step < steps; ++step)
            appendPatiently(*video, pictureAt(step * interval, picture(step)));
        EXPECT_EQ(finishAndWait(*writer), AssetWriter::Status::completed);
        movieBytes = std::filesystem::file_size(path);

        Similarity worst;
        const auto asset = media->asset(path);
        const auto reader = media->makeTrackReader(asset, asset->loadTracks(MediaType::video).at(0), {0, 1e6},
                                                   PixelFormat::i420);
        EXPECT_TRUE(reader->startReading());
        int pictures = 0;
        while (const auto sample = reader->copyNextSampleBuffer()) {
            ++pictures;
            const int step = static_cast<int>(sample->presentationTime.seconds() / interval + 0.5);
            if (counts(step)) worst.keepWorst(fidelity::similarity(*sample->image, *picture(step)));
        }
        EXPECT_GT(pictures, steps * 2 / 3);
        return worst;
    }

    Page page;
    std::uintmax_t movieBytes = 0;
};

TEST_F(Fidelity, TextOnAStillScreenStaysAsItWas) {
    // A cursor blinks for a minute. The movie's key frames alone must not drain what a rate allows.
    const auto blinking = [this](int step) {
        page.drawCursor(step % 2 == 0);
        return page.from(0);
    };
    const Similarity worst = worstOfRecording(blinking, 120, 0.5, 6'000'000, [](int) { return true; });
    EXPECT_GE(worst.luma, 0.98);
    EXPECT_GE(worst.color, 0.97);
    EXPECT_LT(movieBytes, 60 * 6'000'000 / 8 / 8);
}

TEST_F(Fidelity, TextIsSharpAgainASecondAfterItMoved) {
    // A page rolls for a second and stands for two, twice.
    static constexpr int rolling = 60, round = 180;
    const auto scrolled = [this](int step) {
        return page.from((step / round * rolling + std::min(step % round, rolling)) * 6);
    };
    // A rate too small for scrolling; what it leaves coarse must be mended when the page stands.
    const auto hasStood = [](int step) { return step % round >= rolling + 60; };
    EXPECT_GE(worstOfRecording(scrolled, 2 * round, 1.0 / 60, 4'000'000, hasStood).luma, 0.98);
    EXPECT_LT(movieBytes, (6 + 3) * 4'000'000 / 8);
}

}  // namespace
}  // namespace platform::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

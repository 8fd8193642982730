#include "Fidelity/Ssim.hpp"
#include "Fidelity/TextScene.hpp"
#include "Platform/Media/MovieFixture.hpp"

#include <QGuiApplication>
#include <algorithm>

namespace platform::test {
namespace {

using fidelity::Similarity;
using fidelity::Take;
using fidelity::TextScene;

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

class Fidelity : public MovieTest {
  protected:
    static constexpr int width = 1280, height = 720;

    /// Writes the scene's steps at their times through the settings of a screen recording and returns the
    /// worst similarity among the pictures that have stood for `calm` seconds.
    Similarity worstOfRecording(const TextScene& scene, int steps, std::int64_t bitRate, double calm) {
        const auto path = file("take.mov");
        const auto [writer, video, audio] =
            begin(path, FileType::quickTimeMovie,
                  VideoSettings{VideoCodec::hevc, width, height, bitRate, 60, false, true});
        for (int step = 0; step < steps; ++step)
            appendPatiently(*video,
                            pictureAt(step * scene.interval(), fidelity::asVideo(scene.picture(step))));
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
            const int step = static_cast<int>(sample->presentationTime.seconds() / scene.interval() + 0.5);
            if ((step - scene.lastChange(step)) * scene.interval() < calm) continue;
            worst.keepWorst(fidelity::similarity(*sample->image, *fidelity::asVideo(scene.picture(step))));
        }
        EXPECT_GT(pictures, steps * 2 / 3);
        return worst;
    }

    std::uintmax_t movieBytes = 0;
};

TEST_F(Fidelity, TextOnAStillScreenStaysAsItWas) {
    // A cursor blinks for a minute. The movie's key frames alone must not drain what a rate allows.
    const TextScene scene(Take::cursor, width, height, someText());
    const Similarity worst = worstOfRecording(scene, 120, 6'000'000, 0);
    EXPECT_GE(worst.luma, 0.98);
    EXPECT_GE(worst.color, 0.97);
    EXPECT_LT(movieBytes, 60 * 6'000'000 / 8 / 8);
}

TEST_F(Fidelity, TextIsSharpAgainASecondAfterItMoved) {
    const TextScene scene(Take::scrolling, width, height, someText());
    // A rate too small for scrolling; what it leaves coarse must be mended when the page stands.
    EXPECT_GE(worstOfRecording(scene, 360, 4'000'000, 1).luma, 0.98);
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

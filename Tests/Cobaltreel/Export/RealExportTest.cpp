// The whole run on real movies: sessions are made with the real writer, exported with the real codecs, and
// what comes out is decoded and looked at.
#include "Cobaltreel/Export/ExportFixture.hpp"
#include "Platform/Media/MovieFixture.hpp"
#include "Rig/MovieMaker.hpp"
#include "Rig/PlainSession.hpp"

#include <cmath>
#include <cstring>
#include <numbers>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::AudioBuffer;
using platform::MediaType;
using platform::PixelBuffer;
using platform::PixelFormat;

constexpr int width = 320, height = 180, bits = 8, cell = width / bits;
constexpr double firstPTS = 500;

/// A picture that carries a number: eight cells, black or white, lowest bit left.
std::shared_ptr<PixelBuffer> numbered(int number) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture->plane(0).data[y * picture->plane(0).stride + x] = (number >> (x / cell)) & 1 ? 220 : 30;
    for (int plane : {1, 2})
        std::memset(picture->plane(plane).data, 128,
                    static_cast<std::size_t>(picture->plane(plane).stride * picture->plane(plane).height));
    return picture;
}

int numberIn(const PixelBuffer& picture) {
    int number = 0;
    for (int bit = 0; bit < bits; ++bit) {
        const int x = picture.width() * (2 * bit + 1) / (2 * bits), y = picture.height() / 4;
        if (picture.plane(0).data[y * picture.plane(0).stride + x] > 125) number |= 1 << bit;
    }
    return number;
}

/// Silence with a loud tone of a tenth of a second at `beepAt`, all in seconds from the first sample.
struct Sound {
    double seconds;
    int channels;
    double beepAt;

    std::shared_ptr<AudioBuffer> tenth(int number) const {
        const auto sound = std::make_shared<AudioBuffer>();
        sound->format = {48000, channels, true};
        sound->bytes.resize(4800 * sound->format.bytesPerFrame());
        auto samples = sound->floats();
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double t = number / 10.0 + static_cast<double>(i / channels) / 48000 - beepAt;
            if (t >= 0 && t < 0.1)
                samples[i] = static_cast<float>(0.6 * std::sin(2000 * std::numbers::pi * t));
        }
        return sound;
    }
};

class RealExportTest : public platform::test::MovieTest {
  protected:
    RealExportTest() {
        meta.bubbleSizeFraction = 0.4;
        meta.cameraCorner = CameraCorner::bottomRight;
        options.autoZoom = options.bubble = options.clickRipples = options.systemAudio = false;
        options.quality = ExportOptions::Quality::full;
        options.outputPath = file("out.mp4");
    }

    struct Picture {
        double time;
        platform::ConstPixelBufferRef picture;
    };
    void writeMovie(const std::filesystem::path& path, const platform::VideoSettings& video, double start,
                    const std::vector<Picture>& pictures, const std::optional<Sound>& sound) {
        rig::MovieMaker movie(
            *media, path, pictures.empty() ? std::nullopt : std::optional(video),
            sound ? std::optional(platform::AudioSettings{48000, sound->channels, 128000, true})
                  : std::nullopt,
            start);
        auto next = pictures.begin();
        for (int tenth = 0; next != pictures.end() || (sound && tenth < sound->seconds * 10); ++tenth) {
            if (sound && tenth < sound->seconds * 10) movie.add(tenth / 10.0, sound->tenth(tenth));
            for (; next != pictures.end() && next->time * 10 < tenth + 1; ++next)
                movie.add(next->time, next->picture);
        }
        movie.finish();
    }
    /// Numbered frames at 60 a second; the pictures between 1 s and 1.5 s never came.
    void writeScreen(double seconds, std::optional<Sound> sound = std::nullopt) {
        std::vector<Picture> pictures;
        for (int i = 0; i < seconds * 60; ++i)
            if (i < 60 || i >= 90) pictures.push_back({i / 60.0, numbered(i)});
        writeMovie(folder.screenMovie(),
                   {.codec = platform::VideoCodec::hevc,
                    .width = width,
                    .height = height,
                    .averageBitRate = 20'000'000,
                    .expectedFrameRate = 60},
                   firstPTS, pictures, sound);
    }
    static int expectedNumber(double movieTime) {
        const int frame = static_cast<int>(std::floor(movieTime * 60 + 1e-6));
        return frame >= 60 && frame < 90 ? 59 : frame;
    }

    void run() {
        ExportRenderer renderer(folder, meta, media, nullptr);
        renderer.exportMovie(options);
    }
    std::vector<platform::SampleBuffer> decodedPictures() {
        const auto asset = media->asset(options.outputPath);
        const auto tracks = asset->loadTracks(MediaType::video);
        EXPECT_EQ(tracks.size(), 1U);
        auto reader = media->makeTrackReader(asset, tracks.at(0), {0, 1000}, PixelFormat::i420);
        EXPECT_TRUE(reader->startReading());
        std::vector<platform::SampleBuffer> pictures;
        while (auto sample = reader->copyNextSampleBuffer()) pictures.push_back(*sample);
        return pictures;
    }
    std::vector<double> decodedBeeps() {
        return platform::test::onsets(readSound(options.outputPath, options.trimEnd));
    }

    SessionFolder folder{file("")};
    SessionMeta meta = rig::plainSession(width, height, firstPTS);
    ExportOptions options;
};

TEST_F(RealExportTest, EveryFrameShowsThePictureOfItsTimeFromTheFirstToTheLast) {
    writeScreen(3);
    for (const auto& [start, end] : {std::pair(0.0, 3.0), {0.51, 2.26}, {2.5, 2.51}}) {
        options.trimStart = start;
        options.trimEnd = end;
        run();
        const auto pictures = decodedPictures();
        ASSERT_EQ(static_cast<std::int64_t>(pictures.size()), ExportRenderer::frameCount(end - start));
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const double t = static_cast<double>(i) / 30;
            EXPECT_NEAR(pictures[i].presentationTime.seconds(), t, 1e-4);
            EXPECT_EQ(numberIn(*pictures[i].image), expectedNumber(start + t))
                << "frame " << i << " from " << start;
        }
        EXPECT_TRUE(media->asset(options.outputPath)->loadTracks(MediaType::audio).empty());
    }
}

TEST_F(RealExportTest, CameraAndSoundsKeepTheirTimes) {
    // The camera began 0.3 s after the screen; its picture turns bright, and it hears a beep, at 1.2 s of
    // its own time. The computer beeps at 2.4 s of the screen's time.
    writeScreen(3, Sound{3, 2, 2.4});
    std::vector<Picture> camera;
    for (int i = 0; i < 81; ++i)
        camera.push_back({i / 30.0, platform::test::greyPicture(1280, 720, i < 36 ? 60 : 220)});
    writeMovie(folder.cameraMovie(),
               {.codec = platform::VideoCodec::h264,
                .width = 1280,
                .height = 720,
                .averageBitRate = 4'000'000,
                .expectedFrameRate = 30},
               firstPTS + 0.3, camera, Sound{2.7, 1, 1.2});
    meta.cameraFirstPTS = firstPTS + 0.3;
    meta.cameraEnabled = meta.systemAudioEnabled = true;
    options.bubble = options.systemAudio = true;

    for (const double trimStart : {0.0, 0.7}) {
        options.trimStart = trimStart;
        options.trimEnd = 3;
        run();
        double bright = -1, appears = -1;
        int before = -1;
        for (const auto& picture : decodedPictures()) {
            // The middle of the bubble: 72 pixels across, 5.4 from the corner.
            const int luma =
                picture.image->plane(0).data[(180 - 41) * picture.image->plane(0).stride + 320 - 41];
            const double t = picture.presentationTime.seconds();
            if (appears < 0 && std::abs(luma - 60) < 8) appears = t;
            if (bright < 0 && luma > 180 && before >= 0 && before < 100) bright = t;
            before = luma;
        }
        EXPECT_NEAR(bright, 1.5 - trimStart, 1.0 / 30 + 1e-3);
        EXPECT_NEAR(appears, std::max(0.0, 0.3 - trimStart), 1.0 / 30 + 1e-3);
        const auto beeps = decodedBeeps();
        ASSERT_EQ(beeps.size(), 2U);
        EXPECT_NEAR(beeps[0], 1.5 - trimStart, 0.005);
        EXPECT_NEAR(beeps[1], 2.4 - trimStart, 0.005);
    }
    options.systemAudio = false;
    run();
    EXPECT_EQ(decodedBeeps().size(), 1U);
}

TEST_F(RealExportTest, TheZoomShowsTheClickedPlace) {
    writeScreen(3);
    EventLog log;
    log.samples = {{firstPTS + 0.1, 300, 170, 0}, {firstPTS + 0.2, 300, 170, 1}};  // the upper right corner
    folder.writeEvents(log);
    options.autoZoom = options.clickRipples = true;
    options.trimEnd = 2;
    run();
    const auto pictures = decodedPictures();
    ASSERT_EQ(pictures.size(), 60U);
    // Zoomed by two into the right half, the picture shows the four highest bits, each twice as wide.
    // By frame 23 the zoom is complete and the ripple gone; the zoom-out begins at 0.8 s.
    const auto& zoomed = *pictures[23].image;
    for (int bit = 0; bit < 4; ++bit) {
        const int luma = zoomed.plane(0).data[150 * zoomed.plane(0).stride + 40 + 80 * bit];
        EXPECT_EQ(luma > 125, ((expectedNumber(23 / 30.0) >> (4 + bit)) & 1) != 0) << "bit " << bit;
    }
}

}  // namespace
}  // namespace cobaltreel

#include "Platform/Media/MovieFixture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace platform::test {
namespace {

std::vector<double> uneven(std::size_t count, double step) {
    std::vector<double> times;
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(static_cast<double>(i) * step + (i % 3 == 1 ? 0.004321 : i % 7 == 3 ? -0.0061 : 0));
    return times;
}

class TrueTimesTest : public MovieTest,
                      public testing::WithParamInterface<std::tuple<FileType, VideoSettings>> {};

TEST_P(TrueTimesTest, SurviveWritingAndReading) {
    const auto [type, settings] = GetParam();
    std::vector<double> times = uneven(90, 1 / 40.0);
    times.push_back(9.87654);  // the screen stood still for a while
    times.push_back(9.9);
    writePictures(file("a.mov"), type, settings, times);
    const auto frames = readFrames(file("a.mov"), {0, 100});
    ASSERT_EQ(frames.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(frames[i].time, times[i], 0.0001) << i;
        EXPECT_NEAR(frames[i].luma, expectedLuma(i), 4) << i;
    }
    const auto tracks = media->asset(file("a.mov"))->loadTracks(MediaType::video);
    ASSERT_EQ(tracks.size(), 1U);
    EXPECT_EQ(tracks[0].codec, settings.codec == VideoCodec::hevc ? "hevc" : "h264");
    EXPECT_NEAR(tracks[0].timeRange.start, 0, 0.0001);
    // Pictures that are coded out of order leave the end of an uneven track to their coding times.
    if (!settings.expectsMediaDataInRealTime) return;
    EXPECT_NEAR(tracks[0].timeRange.end, 9.9 + 1 / settings.expectedFrameRate, 0.02);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TrueTimesTest,
    testing::Values(std::tuple{FileType::mpeg4, smallH264}, std::tuple{FileType::quickTimeMovie, smallHevc},
                    std::tuple{FileType::quickTimeMovie,
                               VideoSettings{VideoCodec::h264, 64, 48, 400'000, 30, false, true}},
                    std::tuple{FileType::mpeg4, VideoSettings{VideoCodec::hevc, 64, 64, 400'000, 30}}));

using VideoReadingTest = MovieTest;

TEST_F(VideoReadingTest, DeliversTheFrameOnScreenAtTheStartUpToTheEnd) {
    const auto times = evenTimes(200, 25);
    const auto delivered = [&](TimeRange range) {
        const auto frames = readFrames(file("a.mp4"), range);
        return std::tuple{frames.size(), frames.empty() ? -1 : frames.front().time,
                          frames.empty() ? -1 : frames.back().time};
    };
    writePictures(file("a.mp4"), FileType::mpeg4, smallH264, times);
    EXPECT_EQ(delivered({0, 0.4}), (std::tuple{10U, 0.0, 0.36}));
    EXPECT_EQ(delivered({5.01, 5.1}), (std::tuple{3U, 5.0, 5.08}));
    EXPECT_EQ(delivered({5.04, 5.08}), (std::tuple{1U, 5.04, 5.04}));
    EXPECT_EQ(delivered({7.99, 12}), (std::tuple{1U, 7.96, 7.96}));
    EXPECT_EQ(delivered({50, 60}), (std::tuple{1U, 7.96, 7.96}));
    EXPECT_EQ(delivered({3, 3}), (std::tuple{0U, -1.0, -1.0}));
    for (double start = 0; start < 8; start += 0.37) {
        const auto frames = readFrames(file("a.mp4"), {start, start + 0.5});
        ASSERT_FALSE(frames.empty());
        const auto index = static_cast<std::size_t>(std::floor(start * 25 + 1e-9));
        EXPECT_NEAR(frames.front().time, times[index], 1e-9);
        EXPECT_NEAR(frames.front().luma, expectedLuma(index), 4) << start;
    }
}

TEST_F(VideoReadingTest, BeginsWithTheFirstPictureOfTheSession) {
    const struct {
        std::vector<double> written;
        double session, readFrom;
        std::vector<double> times;
        std::size_t first;  // of those written
    } cases[] = {{{0.75, 0.8, 1.0}, 0, 0.1, {0.75, 0.8, 1.0}, 0},
                 {{99.9, 100.0, 100.05, 100.1}, 100, 0, {0, 0.05, 0.1}, 1}};
    for (const auto& c : cases) {
        writePictures(file("a.mov"), FileType::quickTimeMovie, smallHevc, c.written, c.session);
        const auto frames = readFrames(file("a.mov"), {c.readFrom, 5});
        ASSERT_EQ(frames.size(), c.times.size());
        for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_NEAR(frames[i].time, c.times[i], 0.0001);
        EXPECT_NEAR(frames[0].luma, expectedLuma(c.first), 4);
        const auto track = media->asset(file("a.mov"))->loadTracks(MediaType::video)[0];
        EXPECT_NEAR(track.timeRange.start, c.times[0], 0.0001);
    }
}

TEST_F(VideoReadingTest, CodesOddSizesOneLargerWithTheLastLinesRepeated) {
    VideoSettings settings = smallH264;
    settings.width = 33;
    settings.height = 21;
    writePictures(file("a.mp4"), FileType::mpeg4, settings, {0, 0.1});
    const auto picture = firstPicture(file("a.mp4"), PixelFormat::i420);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 34);
    EXPECT_EQ(picture->height(), 22);
    const Plane& luma = picture->plane(0);
    EXPECT_NEAR(luma.data[33], expectedLuma(0), 4);
    EXPECT_NEAR(luma.data[21 * luma.stride + 33], expectedLuma(0), 4);
}

TEST_F(VideoReadingTest, BgraPicturesKeepTheirColors) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::bgra, 64, 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            std::uint8_t* pixel = picture->plane().data + y * picture->plane().stride + 4 * x;
            pixel[0] = 30, pixel[1] = 90, pixel[2] = 200, pixel[3] = 255;
        }
    const auto movie = begin(file("a.mp4"), FileType::mpeg4, smallH264);
    appendPatiently(*movie.video, pictureAt(0, picture));
    ASSERT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed);
    const auto shown = firstPicture(file("a.mp4"), PixelFormat::bgra);
    ASSERT_TRUE(shown);
    const std::uint8_t* pixel = shown->plane().data + 20 * shown->plane().stride + 4 * 30;
    EXPECT_NEAR(pixel[0], 30, 6);
    EXPECT_NEAR(pixel[1], 90, 6);
    EXPECT_NEAR(pixel[2], 200, 6);
}

TEST_F(VideoReadingTest, WhiteIsWhiteWhateverTheCamerasMatrixAndRange) {
    const struct {
        ColorMatrix matrix;
        std::uint8_t white;
    } cases[] = {{ColorMatrix::bt601Limited, 235},
                 {ColorMatrix::bt601Full, 255},
                 {ColorMatrix::bt709Limited, 235},
                 {ColorMatrix::bt709Full, 255}};
    for (const auto& c : cases) {
        const auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, 64, 48, c.matrix);
        for (int plane = 0; plane < 3; ++plane) {
            const Plane& samples = picture->plane(plane);
            for (int y = 0; y < samples.height; ++y)
                std::fill_n(samples.data + y * samples.stride, samples.width, plane == 0 ? c.white : 128);
        }
        // Converted into the track's colors, or kept in a track of its own.
        for (const ColorMatrix track : {ColorMatrix::bt709Limited, c.matrix}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(c.matrix) << " " << static_cast<int>(track));
            VideoSettings settings = smallH264;
            settings.matrix = track;
            const auto movie = begin(file("a.mp4"), FileType::mpeg4, settings);
            appendPatiently(*movie.video, pictureAt(0, picture));
            ASSERT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed);
            const auto shown = firstPicture(file("a.mp4"), PixelFormat::i420);
            ASSERT_TRUE(shown);
            EXPECT_EQ(shown->matrix(), track);
            EXPECT_NEAR(middleLuma(*shown), track == c.matrix ? c.white : 235, 2);
        }
    }
}

TEST_F(VideoReadingTest, ReadsPixelFormatsAndStartOffsetsOfOtherProducers) {
    if (std::system("command -v ffmpeg > /dev/null") != 0) GTEST_SKIP() << "ffmpeg is not installed";
    struct Case {
        const char* name;
        const char* arguments;
        double firstTime;
    };
    // A grey picture in formats that cameras and editors write; a Matroska file whose times begin at 5 s
    // plays from 0, a QuickTime file with an empty edit begins later.
    for (const Case& c :
         {Case{"tenbit.mov", "-c:v libx265 -x265-params log-level=none -pix_fmt yuv420p10le", 0},
          Case{"wide.mov", "-c:v prores_ks", 0}, Case{"rgb.mov", "-c:v qtrle", 0},
          Case{"full.mov", "-c:v mjpeg -pix_fmt yuvj420p", 0},
          Case{"late.mkv", "-c:v libx264 -output_ts_offset 5", 0},
          Case{"late.mov", "-c:v libx264 -output_ts_offset 5", 5}}) {
        const std::string made =
            outputOf("ffmpeg -v error -y -f lavfi -i color=0x808080:s=322x182:r=10:d=0.5 " +
                     std::string(c.arguments) + " " + file(c.name).string());
        ASSERT_EQ(made, "") << c.name;
        const auto frames = readFrames(file(c.name), {0, 20});
        ASSERT_EQ(frames.size(), 5U) << c.name;
        EXPECT_NEAR(frames[0].time, c.firstTime, 0.001) << c.name;
        EXPECT_EQ(frames[0].width, 322) << c.name;
        EXPECT_EQ(frames[0].height, 182) << c.name;
        EXPECT_NEAR(frames[0].luma, std::string(c.name) == "full.mov" ? 128 : 126, 3) << c.name;
    }
}

TEST_F(VideoReadingTest, WhatIsNoMovieIsNamedInTheError) {
    std::ofstream(file("notes.txt")) << "These are notes, not a movie.\n";
    std::ofstream(file("empty.mov")).flush();
    ASSERT_EQ(mkfifo(file("pipe.mov").c_str(), 0600), 0);
    std::filesystem::create_directory(file("folder.mov"));
    for (const char* name : {"notes.txt", "empty.mov", "missing.mov", "pipe.mov", "folder.mov"}) {
        try {
            media->asset(file(name))->loadTracks(MediaType::video);
            ADD_FAILURE() << name << " was opened";
        } catch (const PlatformError& error) {
            EXPECT_EQ(error.domain(), "FFmpeg");
            EXPECT_THAT(error.description(), testing::HasSubstr(file(name).string()));
        }
    }
}

TEST_F(VideoReadingTest, AReaderCanBeDroppedAtAnyMoment) {
    writePictures(file("a.mp4"), FileType::mpeg4, smallH264, evenTimes(300, 30));
    const auto asset = media->asset(file("a.mp4"));
    const auto track = asset->loadTracks(MediaType::video).at(0);
    for (int taken = 0; taken < 12; ++taken) {
        auto reader = media->makeTrackReader(asset, track, {0.3 * taken, 100}, PixelFormat::i420);
        if (taken > 0) {
            EXPECT_TRUE(reader->startReading());
        }
        std::optional<SampleBuffer> kept;
        for (int i = 1; i < taken; ++i) kept = reader->copyNextSampleBuffer();
        reader.reset();
        if (kept) {
            EXPECT_GT(middleLuma(*kept->image), 10);
        }
    }
}

}  // namespace
}  // namespace platform::test

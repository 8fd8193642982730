#include "Platform/Media/Gif/ScenePalette.hpp"
#include "Platform/Media/MovieFixture.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include <gif_lib.h>
#include <gmock/gmock.h>

namespace platform::test {
namespace {

using Status = AssetWriter::Status;
using Rgb = std::array<int, 3>;

constexpr int width = 192, height = 128;

/// What a player shows after each of the file's images, and for how long.
struct Shown {
    std::vector<Rgb> pixels;
    std::size_t drawn = 0;  // pixels that the image drew
    int delay = 0;          // hundredths of a second

    Rgb at(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

std::vector<Shown> play(const std::filesystem::path& path) {
    int error = 0;
    GifFileType* gif = DGifOpenFileName(path.c_str(), &error);
    if (!gif || DGifSlurp(gif) != GIF_OK) throw std::runtime_error("not a GIF");
    std::vector<Shown> result;
    std::vector<Rgb> canvas(static_cast<std::size_t>(gif->SWidth) * static_cast<std::size_t>(gif->SHeight));
    for (int i = 0; i < gif->ImageCount; ++i) {
        const SavedImage& image = gif->SavedImages[i];
        const GifImageDesc& part = image.ImageDesc;
        GraphicsControlBlock control{};
        DGifSavedExtensionToGCB(gif, i, &control);
        Shown shown;
        for (int p = 0; p < part.Width * part.Height; ++p) {
            const int index = image.RasterBits[p];
            if (index == control.TransparentColor) continue;
            const GifColorType& color = part.ColorMap->Colors[index];
            canvas[static_cast<std::size_t>((part.Top + p / part.Width) * gif->SWidth + part.Left +
                                            p % part.Width)] = {color.Red, color.Green, color.Blue};
            ++shown.drawn;
        }
        shown.pixels = canvas;
        shown.delay = control.DelayTime;
        result.push_back(std::move(shown));
    }
    DGifCloseFile(gif, &error);
    return result;
}

/// A bgra picture, `paint(x, y)` at each place.
template <typename Paint>
ConstPixelBufferRef painted(Paint paint) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::bgra, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Rgb color = paint(x, y);
            std::uint8_t* pixel = picture->plane().data + y * picture->plane().stride + x * 4;
            for (int c = 0; c < 3; ++c)
                pixel[2 - c] = static_cast<std::uint8_t>(color[static_cast<std::size_t>(c)]);
            pixel[3] = 255;
        }
    return picture;
}

int distance(const Rgb& a, const Rgb& b) {
    int most = 0;
    for (std::size_t c = 0; c < 3; ++c) most = std::max(most, std::abs(a[c] - b[c]));
    return most;
}

class GifWriterTest : public MovieTest {
  protected:
    std::vector<Shown> written(const std::vector<std::pair<double, ConstPixelBufferRef>>& pictures) {
        const auto movie = begin(file("a.gif"), FileType::gif, settings(), {}, 100);
        for (const auto& [time, picture] : pictures)
            appendPatiently(*movie.video, pictureAt(100 + time, picture));
        EXPECT_EQ(finishAndWait(*movie.writer), Status::completed);
        return play(file("a.gif"));
    }
    static VideoSettings settings() {
        VideoSettings result;
        result.width = width;
        result.height = height;
        result.expectedFrameRate = 10;
        return result;
    }
};

Rgb warm(int x, int y) { return {200 + x / 8, 90 + y / 4, 40}; }
Rgb cold(int x, int y) { return {20, 90 + x / 2, 250 - y}; }
Rgb mixed(int x, int y) { return {x * 255 / width, y * 255 / height, (x * y) % 256}; }

TEST_F(GifWriterTest, DrawsWhatChangesForAsLongAsItIsShown) {
    const auto still = painted(warm);
    const auto cursor = painted([](int x, int y) { return x < 8 && y < 16 ? Rgb{0, 0, 0} : warm(x, y); });
    const auto noisy = painted([](int x, int y) {
        Rgb color = warm(x, y);
        for (int& level : color) level += (x * 7 + y * 3) % 5 - 2;
        return color;
    });
    const auto shown =
        written({{0, still}, {0.1, still}, {0.2, noisy}, {0.5, cursor}, {0.6, cursor}, {2.0, still}});
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(shown[0].delay, 50);
    EXPECT_EQ(shown[1].delay, 150);
    EXPECT_EQ(shown[2].delay, 10) << "the last one by the nominal rate";
    EXPECT_EQ(shown[1].drawn, 8U * 16);
    EXPECT_EQ(shown[2].drawn, 8U * 16);
    EXPECT_EQ(shown[2].pixels, shown[0].pixels) << "the codec's noise does not flicker";
    EXPECT_LE(distance(shown[1].at(3, 3), {0, 0, 0}), 4);
}

TEST_F(GifWriterTest, EachSceneHasItsColors) {
    const std::vector<Rgb (*)(int, int)> scenes{warm, cold, mixed, warm};
    std::vector<std::pair<double, ConstPixelBufferRef>> pictures;
    for (const auto scene : scenes)
        pictures.emplace_back(0.5 * static_cast<double>(pictures.size()), painted(scene));
    const auto shown = written(pictures);
    ASSERT_EQ(shown.size(), scenes.size());
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        double sum = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) sum += distance(shown[i].at(x, y), scenes[i](x, y));
        // The mixed scene has every color there is.
        EXPECT_LT(sum / (width * height), scenes[i] == mixed ? 20 : 4) << i;
    }
}

TEST(GifPaletteTest, ALargePictureOfOneColorKeepsIt) {
    PixelBuffer white(PixelFormat::bgra, 3840, 2160);
    std::ranges::fill_n(white.plane().data, white.plane().stride * white.plane().height, 255);
    gif::ScenePalette palette;
    palette.choose(white, std::vector<std::uint8_t>(std::size_t{3840} * 2160, 1));
    EXPECT_TRUE(palette.serves(white.plane().data));
}

TEST_F(GifWriterTest, WhatAMoveLeavesBehindIsCleaned) {
    // A veil that fades to something that differs less than the codec's noise does.
    std::vector<std::pair<double, ConstPixelBufferRef>> pictures;
    for (const int veil : {60, 30, 6})
        pictures.emplace_back(0.1 * static_cast<double>(pictures.size()), painted([veil](int, int) {
                                  return Rgb{240 - veil, 240 - veil, 240};
                              }));
    const auto clear = painted([](int, int) { return Rgb{240, 240, 240}; });
    for (int i = 3; i < 9; ++i) pictures.emplace_back(0.1 * i, clear);
    const auto shown = written(pictures);
    EXPECT_LE(distance(shown.back().at(90, 60), {240, 240, 240}), 2);
}

TEST_F(GifWriterTest, SaysWhyItCannotBeWritten) {
    const auto picture = painted(mixed);
    const auto full = media->makeWriter("/dev/full", FileType::gif);
    auto& input = full->addVideoInput(settings());
    ASSERT_TRUE(full->startWriting());
    full->startSession(MediaTime::fromSeconds(0));
    EXPECT_FALSE(input.append(pictureAt(0, greyPicture(width + 2, height, 40)))) << "of another size";
    appendPatiently(input, pictureAt(0, picture));
    EXPECT_EQ(finishAndWait(*full), Status::failed);
    ASSERT_TRUE(full->error());
    EXPECT_THAT(full->error()->description(), testing::HasSubstr("/dev/full cannot be written"));
    EXPECT_THAT(full->error()->description(), testing::HasSubstr("space"));

    const auto nowhere = media->makeWriter(file("no/such/folder/a.gif"), FileType::gif);
    nowhere->addVideoInput(settings());
    EXPECT_FALSE(nowhere->startWriting());
    EXPECT_THAT(nowhere->error()->description(), testing::HasSubstr("no/such/folder"));
}

TEST_F(MovieTest, AWebMovieHasItsIndexInFront) {
    VideoSettings settings;
    settings.codec = VideoCodec::vp9;
    settings.width = width;
    settings.height = height;
    for (const double expected : {0.0, 1.0, 60.0}) {
        settings.expectedDuration = expected;
        writePictures(file("a.webm"), FileType::webm, settings, evenTimes(900, 30));
        std::ifstream stream(file("a.webm"), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        const auto cues = bytes.find("\x1C\x53\xBB\x6B"), cluster = bytes.find("\x1F\x43\xB6\x75");
        ASSERT_NE(cluster, std::string::npos);
        // The first mention of both is in the list of contents; the cues' own comes before the first cluster.
        EXPECT_LT(bytes.find("\x1C\x53\xBB\x6B", cues + 1), cluster) << expected;
        EXPECT_EQ(readFrames(file("a.webm"), {0, 60}).size(), 900U);
    }
}

}  // namespace
}  // namespace platform::test

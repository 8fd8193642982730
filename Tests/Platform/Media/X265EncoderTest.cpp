#include "EncoderFixture.hpp"
#include "Platform/Media/FFmpeg/HevcStream.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/X265Library.hpp"

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace platform::ffmpeg {
namespace {

constexpr double asRecorded = 20;  // the worst difference in a block of a page

VideoSettings screen(int width, int height, double rate) {
    return {VideoCodec::hevc, width, height, 20'000'000, rate, false, true};
}

TEST(X265Encoder, PicturesComeBackInOrderWithTheKeyFramesThatWereAskedFor) {
    // On one thread and on several, and of sizes that its blocks do not divide.
    const std::vector<std::size_t> keyFrames{0, 3, 4, 9};
    for (const VideoSettings& settings : {screen(330, 186, 30), screen(962, 642, 120), screen(34, 18, 30)}) {
        SCOPED_TRACE(testing::Message() << settings.width << " x " << settings.height);
        std::vector<Shown> shown;
        for (std::int64_t i = 0; i < 12; ++i)  // as seldom as a screen changes
            shown.push_back(
                {page(settings.width, settings.height, static_cast<int>(i / 2) * 7), i * i * 700});
        for (const std::size_t i : keyFrames) shown[i].isKeyFrame = true;
        const Encoded movie = encoded("libx265", settings, shown);
        EXPECT_EQ(movie.keyFrames, keyFrames);
        for (std::size_t i = 0; i < shown.size(); ++i)
            EXPECT_LT(worstBlock(*shown[i].picture, *movie.pictures[i]), asRecorded) << i;
    }
}

TEST(X265Encoder, PatchesPicturesInWhichLittleChanges) {
    for (const auto& [width, height] : {std::pair{970, 650}, std::pair{960, 640}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        std::vector<Shown> shown;
        PixelBufferRef screenNow = page(width, height);
        // A pointer that reaches every edge, over a page on which something is typed, which scrolls now and
        // then, then all the time, and then stands still.
        for (int i = 0; i < 130; ++i) {
            if (i == 40 || (i > 80 && i < 110)) screenNow = page(width, height, 6 * i);
            if (i < 120 && i % 7 == 0) {
                screenNow = copyOf(*screenNow);
                fill(*screenNow, 40 + i * 5, 300, 8, 12, 20);
            }
            const PixelBufferRef picture = copyOf(*screenNow);
            const int x = i * 41 % (width - 14), y = i * 29 % (height - 20);
            if (i < 120)
                fill(*picture, i % 3 == 0 ? width - 14 : x, i % 3 == 1 ? height - 20 : y, 14, 20, 235);
            shown.push_back({picture, i * videoTimescale / 60});
        }
        shown[50].isKeyFrame = shown[51].isKeyFrame = true;
        // Coarse for a while, and refined at once when that is over.
        for (std::size_t i = 60; i < 70; ++i) shown[i].coarser = 20;
        shown[70].picture = shown[69].picture;
        const Encoded movie = encoded("libx265", screen(width, height, 60), shown);
        EXPECT_EQ(movie.keyFrames, (std::vector<std::size_t>{0, 50, 51}));
        for (std::size_t i = 0; i < shown.size(); ++i)
            EXPECT_LT(worstBlock(*shown[i].picture, *movie.pictures[i]),
                      shown[i].coarser > 0 ? 60 : asRecorded)
                << i;
        const auto median = [&](std::size_t from, std::size_t to) {
            std::vector<int> sizes(movie.sizes.begin() + static_cast<std::ptrdiff_t>(from),
                                   movie.sizes.begin() + static_cast<std::ptrdiff_t>(to));
            std::sort(sizes.begin(), sizes.end());
            return sizes[sizes.size() / 2];
        };
        EXPECT_LT(median(10, 40), 6000) << "the pointer";
        EXPECT_LT(median(85, 110), 40000) << "scrolling";
        EXPECT_LT(median(123, 130), 60) << "standing";
    }
}

// What a decoder makes of motion that is told in every order of blocks.
TEST(HevcStream, PredictsBlocksFromWhereTheyWere) {
    constexpr int width = 256, height = 160, side = 32, columns = width / side,
                  blocks = columns * height / side;
    const CodecPtr description = describe(nullptr, screen(width, height, 60));
    description->codec_type = AVMEDIA_TYPE_VIDEO;
    description->codec_id = AV_CODEC_ID_HEVC;
    X265Library library(*description, X265Work{});
    const auto stream = HevcStream::of(library.sequenceSet(), library.pictureSet());
    ASSERT_TRUE(stream);
    const CodecPtr decoder = strictDecoder(*description);
    PictureConversion conversion;
    const auto decoded = [&](const Bytes& units) {
        EXPECT_EQ(avcodec_send_packet(decoder.get(), makePacket(units).get()), 0);
        const FramePtr frame = makeFrame();
        EXPECT_EQ(avcodec_receive_frame(decoder.get(), frame.get()), 0);
        return copyOf(*conversion.buffer(*frame, PixelFormat::i420));
    };
    Bytes first = library.headers();
    appendWithStartCode(first, library.encode(*conversion.frame(page(width, height)), true, 21).slice);
    const PixelBufferRef reference = decoded(first);

    std::mt19937 random(5);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int number = 1; number < 200; ++number) {
        std::vector<int> moved(blocks);
        int rows = 0;
        for (int& each : moved) {
            if (below(3) == 0) rows = below(2) == 0 ? 0 : 2 * (below(100) - 50);
            each = rows;
        }
        Bytes units;
        for (int begin = 0, end = 0; begin < blocks; begin = end) {
            end = std::min(begin + 1 + below(below(2) == 0 ? 3 : 3 * columns), blocks);
            appendWithStartCode(
                units, stream->predicted({number, number}, begin,
                                         std::span(moved).subspan(static_cast<std::size_t>(begin),
                                                                  static_cast<std::size_t>(end - begin))));
        }
        const PixelBufferRef picture = decoded(units);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int from = std::clamp(
                    y + moved[static_cast<std::size_t>(y / side * columns + x / side)], 0, height - 1);
                ASSERT_EQ(picture->row(y)[x], reference->row(from)[x]) << number << ": " << x << ", " << y;
            }
    }
    EXPECT_FALSE(HevcStream::of(library.pictureSet(), library.sequenceSet()));
}

}  // namespace
}  // namespace platform::ffmpeg

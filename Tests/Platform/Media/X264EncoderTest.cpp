#include "EncoderFixture.hpp"
#include "Platform/Media/FFmpeg/ChangedBlocks.hpp"
#include "Platform/Media/FFmpeg/H264Stream.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace platform::ffmpeg {
namespace {

/// At the settings' rate.
Encoded encoded(const VideoSettings& settings, const std::vector<ConstPixelBufferRef>& pictures) {
    std::vector<Shown> shown;
    for (const auto& picture : pictures)
        shown.push_back({picture, std::llround(static_cast<double>(shown.size()) * videoTimescale /
                                               settings.expectedFrameRate)});
    return encoded("libx264", settings, shown);
}

constexpr int repetitionBytes = 20;  // with its length; the library's own are about as long
constexpr int settled = 16;          // pictures after and before a change, more than the library has inside

TEST(ChangedBlocks, AreThoseInWhichAnySampleDiffers) {
    std::mt19937 random(7);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    PictureConversion conversion;
    for (int round = 0; round < 300; ++round) {
        const int width = 2 + 2 * below(60), height = 2 + 2 * below(40);
        const PixelBufferRef before = page(width, height), after = copyOf(*before);
        const int columns = macroblocks(width);
        std::vector<std::uint8_t> expected(static_cast<std::size_t>(columns * macroblocks(height)), 1);
        for (int change = below(6); change > 0; --change) {
            const int plane = below(3), side = plane == 0 ? macroblockSide : macroblockSide / 2;
            const int x = below(after->plane(plane).width), y = below(after->plane(plane).height);
            after->row(y, plane)[x] = static_cast<std::uint8_t>(before->row(y, plane)[x] ^ 1);
            expected[static_cast<std::size_t>(y / side * columns + x / side)] = 0;
        }
        std::vector<std::uint8_t> constant(expected.size(), 9);
        const int changed =
            compareBlocks<macroblockSide>(*conversion.frame(after), *conversion.frame(before), constant);
        ASSERT_EQ(constant, expected) << width << " x " << height;
        ASSERT_EQ(changed, std::count(expected.begin(), expected.end(), 0));
    }
}

TEST(X264Encoder, RepeatsPicturesThatStandAndShowsEveryChange) {
    for (const auto& [width, height] : {std::pair{320, 192}, std::pair{330, 186}, std::pair{34, 18}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        std::vector<ConstPixelBufferRef> pictures;
        std::vector<std::size_t> changes;
        PixelBufferRef shown = page(width, height);
        // Typing, a pause, a blink, movement, and a picture that stands longer than numbers of pictures and
        // the distance of key frames reach.
        for (const int stands : {1, 1, 40, 15, 15, 1, 2, 3, 4, 5, 270, 20, 1, 1, 90}) {
            shown = copyOf(*shown);
            const int step = static_cast<int>(changes.size());
            fill(*shown, step * 5 % (width - 8), step * 7 % (height - 8), 8, 8, step % 2 == 0 ? 16 : 235);
            changes.push_back(pictures.size());
            pictures.insert(pictures.end(), static_cast<std::size_t>(stands), shown);
        }
        const Encoded movie = encoded({VideoCodec::h264, width, height, 8'000'000, 30, true}, pictures);
        EXPECT_EQ(movie.keyFrames, (std::vector<std::size_t>{0, 240}));
        int repeated = 0;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            ASSERT_LT(worstBlock(*pictures[i], *movie.pictures[i]), 8) << "picture " << i;
            const auto change = std::upper_bound(changes.begin(), changes.end(), i) - 1;
            const std::size_t key = i >= 240 ? 240 : 0, next = i < 240 ? 240 : pictures.size();
            const std::size_t nextChange = change + 1 == changes.end() ? pictures.size() : change[1];
            if (i < std::max(*change, key) + settled || i + settled > std::min(next, nextChange)) continue;
            ++repeated;
            ASSERT_LE(movie.sizes[i], repetitionBytes) << "picture " << i;
            ASSERT_EQ(worstBlock(*movie.pictures[i - 1], *movie.pictures[i]), 0) << "picture " << i;
        }
        EXPECT_GT(repeated, 200);
    }
}

// What the ceiling made coarse must not stay so because the library is not asked again.
TEST(X264Encoder, RefinesWhatTheCeilingMadeCoarseBeforeItRepeats) {
    constexpr int width = 640, height = 352, moving = 60, standing = 120;
    std::vector<ConstPixelBufferRef> pictures;
    for (int i = 0; i < moving; ++i) pictures.push_back(page(width, height, i * 29));
    pictures.insert(pictures.end(), standing, pictures.back());
    const auto settings = [&](std::int64_t rate) {
        return VideoSettings{VideoCodec::h264, width, height, rate, 30, true};
    };
    const Encoded narrow = encoded(settings(1'000'000), pictures), wide = encoded(settings(0), pictures);
    const auto worst = [&](const Encoded& movie, std::size_t i) {
        return worstBlock(*pictures[i], *movie.pictures[i]);
    };
    const std::size_t last = pictures.size() - 1;
    EXPECT_GT(worst(narrow, moving - 1), 2 * worst(wide, moving - 1));
    EXPECT_LT(worst(narrow, last), worst(wide, last) + 1.5);
    EXPECT_LE(narrow.sizes[last], repetitionBytes);
}

TEST(H264Stream, NumbersSlicesWhateverBytesThatBringsUp) {
    // Sets and slices of the library's, at sizes that put the number's bits at every place.
    const VideoEncoderPtr encoder =
        openVideoEncoder("libx264", {VideoCodec::h264, 64, 48, 0, 30, true}, true);
    const std::uint8_t* record = encoder->description().extradata;
    const std::size_t length = static_cast<std::size_t>(record[6]) << 8 | record[7];
    const std::span sequenceSet(record + 8, length);
    const std::uint8_t* rest = record + 8 + length;
    const std::span pictureSet(rest + 3, static_cast<std::size_t>(rest[1]) << 8 | rest[2]);
    const auto stream = H264Stream::of(sequenceSet, pictureSet);
    ASSERT_TRUE(stream);
    for (int number = 0; number < 40; ++number)
        for (int other = 0; other < 40; ++other) {
            Bytes unit = stream->repetition(number);
            stream->setFrameNumber(unit, other);
            ASSERT_EQ(unit, stream->repetition(other)) << number << " to " << other;
            // Zeros behind the number, which have to be told from a start code.
            Bytes zeros = stream->repetition(number);
            zeros.resize(3);
            zeros.insert(zeros.end(), {0, 0, 3, 0, 0, 3, 1, 0x80});
            const Bytes original = zeros;
            stream->setFrameNumber(zeros, other);
            for (std::size_t i = 2; i < zeros.size(); ++i)
                ASSERT_FALSE(zeros[i] < 3 && zeros[i - 1] == 0 && zeros[i - 2] == 0);
            stream->setFrameNumber(zeros, number);
            ASSERT_EQ(zeros, original);
        }
    EXPECT_FALSE(H264Stream::of(sequenceSet.first(3), pictureSet));
    EXPECT_FALSE(H264Stream::of(pictureSet, sequenceSet));
}

}  // namespace
}  // namespace platform::ffmpeg

#include "Platform/Media/FFmpeg/ChangedBlocks.hpp"
#include "Platform/Media/FFmpeg/H264Stream.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

namespace platform::ffmpeg {
namespace {

PixelBufferRef copyOf(const PixelBuffer& picture) {
    auto copy = std::make_shared<PixelBuffer>(PixelFormat::i420, picture.width(), picture.height());
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < picture.plane(plane).height; ++y)
            std::copy_n(picture.row(y, plane), picture.plane(plane).width, copy->row(y, plane));
    return copy;
}

/// A page of strokes as sharp as letters, its lines moved up by `scrolled`.
PixelBufferRef page(int width, int height, int scrolled = 0) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int line = (y + scrolled) / 12, row = (y + scrolled) % 12;
            const bool isInk = row < 9 && (x * 7 + line * 5 + row / 3 * x) % 11 < 3;
            picture->row(y)[x] = isInk ? 30 : 225;
        }
    for (int plane : {1, 2})
        for (int y = 0; y < height / 2; ++y) std::fill_n(picture->row(y, plane), width / 2, 128);
    return picture;
}

void fill(PixelBuffer& picture, int left, int top, int width, int height, std::uint8_t luma) {
    for (int y = top; y < top + height; ++y) std::fill_n(picture.row(y) + left, width, luma);
}

/// The worst mean difference of luma in any block.
double worstBlock(const PixelBuffer& a, const PixelBuffer& b) {
    double worst = 0;
    for (int top = 0; top < a.height(); top += macroblockSide)
        for (int left = 0; left < a.width(); left += macroblockSide) {
            double sum = 0;
            const int bottom = std::min(top + macroblockSide, a.height());
            const int right = std::min(left + macroblockSide, a.width());
            for (int y = top; y < bottom; ++y)
                for (int x = left; x < right; ++x) sum += std::abs(a.row(y)[x] - b.row(y)[x]);
            worst = std::max(worst, sum / ((bottom - top) * (right - left)));
        }
    return worst;
}

struct Encoded {
    std::vector<PixelBufferRef> pictures;  // as decoded
    std::vector<int> sizes;                // of the packets, bytes
    std::vector<std::size_t> keyFrames;
};

/// Encodes at the settings' rate and decodes with a decoder that forgives nothing.
Encoded encoded(const VideoSettings& settings, const std::vector<ConstPixelBufferRef>& pictures) {
    const VideoEncoderPtr encoder = openVideoEncoder("libx264", settings, true);
    const CodecPtr decoder(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    avcodec_parameters_from_context(parameters, &encoder->description());
    avcodec_parameters_to_context(decoder.get(), parameters);
    avcodec_parameters_free(&parameters);
    decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_COMPLIANT;
    decoder->thread_count = 1;
    EXPECT_EQ(avcodec_open2(decoder.get(), decoder->codec, nullptr), 0);

    Encoded result;
    const auto timeOf = [&](std::size_t i) {
        return static_cast<std::int64_t>(static_cast<double>(i) * videoTimescale /
                                         settings.expectedFrameRate);
    };
    PictureConversion conversion;
    const PacketPtr packet = makePacket();
    const FramePtr frame = makeFrame();
    const auto decode = [&](const AVPacket* given) {
        EXPECT_EQ(avcodec_send_packet(decoder.get(), given), 0);
        while (avcodec_receive_frame(decoder.get(), frame.get()) == 0)
            result.pictures.push_back(copyOf(*conversion.buffer(*frame, PixelFormat::i420)));
    };
    const auto encode = [&](FramePtr picture) {
        encoder->send(std::move(picture), 0);
        while (encoder->receive(*packet)) {
            EXPECT_EQ(packet->pts, timeOf(result.sizes.size()));
            if ((packet->flags & AV_PKT_FLAG_KEY) != 0) result.keyFrames.push_back(result.sizes.size());
            result.sizes.push_back(packet->size);
            decode(packet.get());
            av_packet_unref(packet.get());
        }
    };
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        FramePtr picture = conversion.frame(pictures[i]);
        picture->pts = timeOf(i);
        encode(std::move(picture));
    }
    encode(nullptr);
    decode(nullptr);
    EXPECT_EQ(result.sizes.size(), pictures.size());
    EXPECT_EQ(result.pictures.size(), pictures.size());
    return result;
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
        const int changed = compareBlocks(*conversion.frame(after), *conversion.frame(before), constant);
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

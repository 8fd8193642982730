#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

namespace platform::ffmpeg {
namespace {

/// Columns of ink, moved by some pixels.
PixelBufferRef columns(int width, int height, int moved) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < picture->plane(plane).height; ++y)
            for (int x = 0; x < picture->plane(plane).width; ++x)
                picture->row(y, plane)[x] = plane > 0 ? 128 : (x + moved + y / 16 * 5) % 24 < 9 ? 40 : 210;
    return picture;
}

double meanDifference(const PixelBuffer& a, const AVFrame& b) {
    double sum = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) sum += std::abs(a.row(y)[x] - b.data[0][y * b.linesize[0] + x]);
    return sum / (static_cast<double>(a.width()) * a.height());
}

TEST(X265Encoder, PicturesComeBackInOrderWithTheKeyFramesThatWereAskedFor) {
    // On one thread and on several, and of sizes that its blocks do not divide.
    const std::vector<std::size_t> keyFrames{0, 3, 4, 9};
    for (const VideoSettings& settings :
         {VideoSettings{VideoCodec::hevc, 330, 186, 20'000'000, 30, false, true},
          VideoSettings{VideoCodec::hevc, 1290, 722, 20'000'000, 120, false, true},
          VideoSettings{VideoCodec::hevc, 34, 18, 20'000'000, 30, false, true}}) {
        SCOPED_TRACE(testing::Message() << settings.width << " x " << settings.height);
        const VideoEncoderPtr encoder = openVideoEncoder("libx265", settings, true);
        const CodecPtr decoder(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_HEVC)));
        AVCodecParameters* parameters = avcodec_parameters_alloc();
        avcodec_parameters_from_context(parameters, &encoder->description());
        avcodec_parameters_to_context(decoder.get(), parameters);
        avcodec_parameters_free(&parameters);
        decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM;
        decoder->thread_count = 1;
        ASSERT_EQ(avcodec_open2(decoder.get(), decoder->codec, nullptr), 0);

        std::vector<PixelBufferRef> pictures;
        std::vector<std::int64_t> times;
        std::vector<std::size_t> seenKeyFrames;
        std::size_t decoded = 0;
        PictureConversion conversion;
        const PacketPtr packet = makePacket();
        const FramePtr frame = makeFrame();
        const auto decode = [&](const AVPacket* given) {
            EXPECT_EQ(avcodec_send_packet(decoder.get(), given), 0);
            for (; avcodec_receive_frame(decoder.get(), frame.get()) == 0; ++decoded)
                EXPECT_LT(meanDifference(*pictures.at(decoded), *frame), 3) << decoded;
        };
        const auto encode = [&](FramePtr picture) {
            encoder->send(std::move(picture), 0);
            while (encoder->receive(*packet)) {
                if ((packet->flags & AV_PKT_FLAG_KEY) != 0) seenKeyFrames.push_back(times.size());
                times.push_back(packet->pts);
                decode(packet.get());
                av_packet_unref(packet.get());
            }
        };
        std::vector<std::int64_t> given;
        for (std::size_t i = 0; i < 12; ++i) {
            pictures.push_back(columns(settings.width, settings.height, static_cast<int>(i / 2)));
            FramePtr picture = conversion.frame(pictures.back());
            given.push_back(static_cast<std::int64_t>(i * i) * 700);  // as seldom as a screen changes
            picture->pts = given.back();
            if (std::find(keyFrames.begin(), keyFrames.end(), i) != keyFrames.end())
                picture->pict_type = AV_PICTURE_TYPE_I;
            encode(std::move(picture));
        }
        encode(nullptr);
        decode(nullptr);
        EXPECT_EQ(times, given);
        EXPECT_EQ(seenKeyFrames, keyFrames);
        EXPECT_EQ(decoded, pictures.size());
    }
}

}  // namespace
}  // namespace platform::ffmpeg

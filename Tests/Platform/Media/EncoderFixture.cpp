#include "EncoderFixture.hpp"

#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace platform::ffmpeg {

PixelBufferRef copyOf(const PixelBuffer& picture) {
    auto copy = std::make_shared<PixelBuffer>(PixelFormat::i420, picture.width(), picture.height());
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < picture.plane(plane).height; ++y)
            std::copy_n(picture.row(y, plane), picture.plane(plane).width, copy->row(y, plane));
    return copy;
}

PixelBufferRef page(int width, int height, int scrolled) {
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

double worstBlock(const PixelBuffer& a, const PixelBuffer& b) {
    double worst = 0;
    constexpr int side = 16;
    for (int top = 0; top < a.height(); top += side)
        for (int left = 0; left < a.width(); left += side) {
            double sum = 0;
            const int bottom = std::min(top + side, a.height());
            const int right = std::min(left + side, a.width());
            for (int y = top; y < bottom; ++y)
                for (int x = left; x < right; ++x) sum += std::abs(a.row(y)[x] - b.row(y)[x]);
            worst = std::max(worst, sum / ((bottom - top) * (right - left)));
        }
    return worst;
}

CodecPtr strictDecoder(const AVCodecContext& description) {
    CodecPtr decoder(avcodec_alloc_context3(avcodec_find_decoder(description.codec_id)));
    AVCodecParameters* parameters = avcodec_parameters_alloc();
    avcodec_parameters_from_context(parameters, &description);
    avcodec_parameters_to_context(decoder.get(), parameters);
    avcodec_parameters_free(&parameters);
    decoder->err_recognition = AV_EF_EXPLODE | AV_EF_BITSTREAM | AV_EF_COMPLIANT;
    decoder->thread_count = 1;
    EXPECT_EQ(avcodec_open2(decoder.get(), decoder->codec, nullptr), 0);
    return decoder;
}

Encoded encoded(const std::string& name, const VideoSettings& settings, const std::vector<Shown>& shown) {
    const VideoEncoderPtr encoder = openVideoEncoder(name, settings, true);
    const CodecPtr decoder = strictDecoder(encoder->description());
    Encoded result;
    PictureConversion conversion;
    const PacketPtr packet = makePacket();
    const FramePtr frame = makeFrame();
    const auto decode = [&](const AVPacket* given) {
        EXPECT_EQ(avcodec_send_packet(decoder.get(), given), 0);
        while (avcodec_receive_frame(decoder.get(), frame.get()) == 0)
            result.pictures.push_back(copyOf(*conversion.buffer(*frame, PixelFormat::i420)));
    };
    const auto encode = [&](FramePtr picture, double coarser) {
        encoder->send(std::move(picture), coarser);
        while (encoder->receive(*packet)) {
            EXPECT_EQ(packet->pts, shown.at(result.sizes.size()).time);
            if ((packet->flags & AV_PKT_FLAG_KEY) != 0) result.keyFrames.push_back(result.sizes.size());
            result.sizes.push_back(packet->size);
            decode(packet.get());
            av_packet_unref(packet.get());
        }
    };
    for (const Shown& each : shown) {
        FramePtr picture = conversion.frame(each.picture);
        picture->pts = each.time;
        if (each.isKeyFrame) picture->pict_type = AV_PICTURE_TYPE_I;
        encode(std::move(picture), each.coarser);
    }
    encode(nullptr, 0);
    decode(nullptr);
    EXPECT_EQ(result.sizes.size(), shown.size());
    EXPECT_EQ(result.pictures.size(), shown.size());
    return result;
}

}  // namespace platform::ffmpeg

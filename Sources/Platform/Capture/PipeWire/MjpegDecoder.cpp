#include "Platform/Capture/PipeWire/MjpegDecoder.hpp"

#include <cstring>
#include <new>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace platform::pipewire {

namespace {

struct ContextFree {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketFree {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameFree {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

std::optional<PictureLayout> layoutOf(int format) {
    switch (format) {
        case AV_PIX_FMT_YUV420P:
        case AV_PIX_FMT_YUVJ420P:
            return PictureLayout::i420;
        case AV_PIX_FMT_YUV422P:
        case AV_PIX_FMT_YUVJ422P:
            return PictureLayout::i422;
        case AV_PIX_FMT_YUV444P:
        case AV_PIX_FMT_YUVJ444P:
            return PictureLayout::i444;
        case AV_PIX_FMT_GRAY8:
            return PictureLayout::gray;
        default:
            return std::nullopt;
    }
}

}  // namespace

struct MjpegDecoder::Handles {
    std::unique_ptr<AVCodecContext, ContextFree> context;
    std::unique_ptr<AVPacket, PacketFree> packet{av_packet_alloc()};
    std::unique_ptr<AVFrame, FrameFree> frame{av_frame_alloc()};
    std::vector<std::uint8_t> padded;  // the decoder reads a little beyond the end
};

MjpegDecoder::MjpegDecoder() : handles_(std::make_unique<Handles>()) {
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    if (codec == nullptr) return;
    handles_->context.reset(avcodec_alloc_context3(codec));
    if (!handles_->context || !handles_->packet || !handles_->frame) throw std::bad_alloc();
    handles_->context->thread_count = 1;                 // more threads hold pictures back
    handles_->context->log_level_offset = AV_LOG_TRACE;  // a damaged picture is reported otherwise
    handles_->context->err_recognition = AV_EF_EXPLODE;
    if (avcodec_open2(handles_->context.get(), codec, nullptr) < 0) handles_->context.reset();
}

MjpegDecoder::~MjpegDecoder() = default;

std::optional<RawPicture> MjpegDecoder::decode(std::span<const std::uint8_t> bytes) {
    Handles& handles = *handles_;
    if (!handles.context || bytes.empty()) return std::nullopt;
    handles.padded.assign(bytes.begin(), bytes.end());
    handles.padded.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    handles.packet->data = handles.padded.data();
    handles.packet->size = static_cast<int>(bytes.size());
    av_frame_unref(handles.frame.get());
    if (avcodec_send_packet(handles.context.get(), handles.packet.get()) < 0 ||
        avcodec_receive_frame(handles.context.get(), handles.frame.get()) < 0 ||
        handles.frame->decode_error_flags != 0) {
        avcodec_flush_buffers(handles.context.get());
        return std::nullopt;
    }
    const AVFrame& frame = *handles.frame;
    const auto layout = layoutOf(frame.format);
    if (!layout) return std::nullopt;
    RawPicture picture;
    picture.layout = *layout;
    picture.width = frame.width;
    picture.height = frame.height;
    for (std::size_t i = 0; i < picture.planes.size(); ++i) {
        picture.planes[i] = frame.data[i];
        picture.strides[i] = frame.linesize[i];
    }
    picture.matrix =
        frame.color_range == AVCOL_RANGE_MPEG ? ColorMatrix::bt601Limited : ColorMatrix::bt601Full;
    return picture;
}

}  // namespace platform::pipewire

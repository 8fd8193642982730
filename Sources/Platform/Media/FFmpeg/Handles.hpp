#pragma once

#include <cstdint>
#include <memory>
#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace platform::ffmpeg {

/// Calls a library's free function, which takes the address of the pointer.
template <auto freeFunction>
struct FreeByAddress {
    template <typename Handle>
    void operator()(Handle* handle) const {
        freeFunction(&handle);
    }
};

struct SwsDeleter {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
struct AudioFifoDeleter {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
struct ChannelLayoutDeleter {
    void operator()(AVChannelLayout* layout) const {
        av_channel_layout_uninit(layout);
        delete layout;
    }
};
/// Frees a context for writing; the file it writes to has an owner of its own.
struct OutputDeleter {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

using InputPtr = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;
using OutputPtr = std::unique_ptr<AVFormatContext, OutputDeleter>;
using FilePtr = std::unique_ptr<AVIOContext, FreeByAddress<avio_closep>>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using FramePtr = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using SwrPtr = std::unique_ptr<SwrContext, FreeByAddress<swr_free>>;
using SwsPtr = std::unique_ptr<SwsContext, SwsDeleter>;
using ChannelLayoutPtr = std::unique_ptr<AVChannelLayout, ChannelLayoutDeleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoDeleter>;

/// Throw std::bad_alloc instead of returning null.
FramePtr makeFrame();
PacketPtr makePacket();
PacketPtr makePacket(std::span<const std::uint8_t> data);

}  // namespace platform::ffmpeg

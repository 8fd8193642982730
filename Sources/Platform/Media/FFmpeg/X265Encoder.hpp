#pragma once

#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <cstdint>
#include <deque>
#include <memory>

struct x265_encoder;
struct x265_param;

namespace platform::ffmpeg {

/// HEVC of screens in software, as fast as it can be had: libx265 itself, since FFmpeg's way to it sets no
/// picture's quantiser, and what stands in for that (regions of interest) has the library look at every
/// picture twice.
class X265Encoder final : public VideoEncoder {
  public:
    /// Throws PlatformError.
    explicit X265Encoder(const VideoSettings& settings);

    std::string name() const override { return "libx265"; }
    const AVCodecContext& description() const override { return *description_; }
    void send(FramePtr picture, double coarser) override;
    bool receive(AVPacket& packet) override;

  private:
    struct Free {
        void operator()(x265_encoder* encoder) const;
        void operator()(x265_param* parameters) const;
    };
    bool encode(void* picture);

    CodecPtr description_;
    std::unique_ptr<x265_param, Free> parameters_;
    std::unique_ptr<x265_encoder, Free> encoder_;
    int sent_ = 0;                    // pictures
    std::deque<std::int64_t> times_;  // of the pictures inside
    std::deque<PacketPtr> packets_;
};

}  // namespace platform::ffmpeg

#pragma once

#include "Platform/Media/FFmpeg/H264Stream.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

struct x264_t;

namespace platform::ffmpeg {

/// H.264 of exports in software, not in real time: libx264 itself, which can be told what blocks have not
/// changed. A picture that is the same throughout costs nothing: a repetition of the one before is written
/// for it, once that is as good as the quality asks for.
class X264Encoder final : public VideoEncoder {
  public:
    /// Throws PlatformError.
    explicit X264Encoder(const VideoSettings& settings);

    std::string name() const override { return "libx264"; }
    const AVCodecContext& description() const override { return *description_; }
    /// Nothing is coarser than the quality but for the ceiling of the settings' rate: `coarser` is ignored.
    void send(FramePtr picture, double coarser) override;
    bool receive(AVPacket& packet) override;

  private:
    struct Free {
        void operator()(x264_t* encoder) const;
    };
    void readHeaders();
    void encode(const AVFrame& picture, bool isKeyFrame, bool hasPrevious);
    void drain();
    void take(const void* units, int count, double coarsening);
    void deliver(const Bytes& bytes, bool isKeyFrame);

    CodecPtr description_;
    std::unique_ptr<x264_t, Free> encoder_;
    std::optional<H264Stream> stream_;    // absent where pictures cannot be repeated
    std::vector<std::uint8_t> constant_;  // the blocks that are as they were
    FramePtr last_;
    int sinceKeyFrame_ = 0;  // pictures sent
    // Pictures that the library was given and has given back, the first of them that looks like the last one,
    // and how many of those have come out as well as they should.
    std::int64_t given_ = 0, taken_ = 0, standsFrom_ = 0;
    int good_ = 0;
    std::deque<std::int64_t> times_;  // of the pictures inside
    int frameNumber_ = 0;             // of the next picture to come out
    std::deque<PacketPtr> packets_;
};

}  // namespace platform::ffmpeg

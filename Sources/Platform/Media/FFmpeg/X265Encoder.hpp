#pragma once

#include "Platform/Media/FFmpeg/HevcStream.hpp"
#include "Platform/Media/FFmpeg/PatchEncoder.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"
#include "Platform/Media/FFmpeg/X265Library.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace platform::ffmpeg {

/// HEVC of screens in software, as fast as it can be had: libx265 itself, since FFmpeg's way to it sets no
/// picture's quantiser, and what stands in for that (regions of interest) has the library look at every
/// picture twice. Pictures in which little has changed never reach it: they are patched.
class X265Encoder final : public VideoEncoder {
  public:
    /// Throws PlatformError.
    explicit X265Encoder(const VideoSettings& settings);

    std::string name() const override { return "libx265"; }
    const AVCodecContext& description() const override { return *description_; }
    void send(FramePtr picture, double coarser) override;
    bool receive(AVPacket& packet) override;

  private:
    struct Sent {
        std::int64_t time;
        HevcStream::Place place;
        bool isMoved;      // to a place other than the library's
        PacketPtr packet;  // null while the library works on it
    };
    bool patch(const AVFrame& picture, int target);
    void drain();
    void take(X265Library::Coded coded);

    CodecPtr description_;
    X265Library library_;
    std::optional<HevcStream> stream_;  // absent where pictures cannot be patched
    std::optional<PatchEncoder> patches_;
    bool canMove_ = false;  // a picture of the library's was as it must be
    bool isFirst_ = true;
    int number_ = 0;         // pictures since the last key picture
    int distance_ = 0;       // and since the library's last
    int libraryNumber_ = 0;  // the library's own of its next picture
    int coarsest_ = 0;       // quantiser since its last, included
    std::deque<Sent> sent_;  // not received yet
};

}  // namespace platform::ffmpeg

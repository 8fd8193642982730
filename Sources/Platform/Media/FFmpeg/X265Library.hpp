#pragma once

#include "Platform/Media/FFmpeg/BitStream.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <cstdint>
#include <memory>
#include <span>

struct x265_encoder;
struct x265_param;

namespace platform::ffmpeg {

/// How libx265 works on pictures.
struct X265Work {
    int largestBlock = 32, smallestBlock = 32;  // pixels; what is coded are whole smallest blocks
    bool deblocks = false;
    int threads = 1;  // pictures side by side
};

/// One encoder of libx265's: a quantiser for each picture, each referring to the one before, none looked at
/// beforehand. One thread; operations throw PlatformError.
class X265Library {
  public:
    /// What pictures are, in size, rate and colors, is as described.
    X265Library(const AVCodecContext& description, const X265Work& work);

    struct Coded {
        Bytes slice;  // the picture's only one, without start code; empty while none has come out
        bool isKeyFrame = false;
    };
    /// Takes an i420 picture of the size described; gives back the next that is ready.
    Coded encode(const AVFrame& picture, bool isKeyFrame, int quantiser);
    /// Waits for the next of the pictures that are inside. More may follow later.
    Coded drain();
    /// Pictures that have not come out yet.
    int inside() const { return inside_; }

    /// The parameter sets with start codes, and two of them without.
    const Bytes& headers() const { return headers_; }
    const Bytes& sequenceSet() const { return sequenceSet_; }
    const Bytes& pictureSet() const { return pictureSet_; }

  private:
    struct Free {
        void operator()(x265_encoder* encoder) const;
        void operator()(x265_param* parameters) const;
    };
    Coded encode(void* picture);

    std::unique_ptr<x265_param, Free> parameters_;
    std::unique_ptr<x265_encoder, Free> encoder_;
    Bytes headers_, sequenceSet_, pictureSet_;
    std::int64_t sent_ = 0;  // pictures
    int inside_ = 0;
};

}  // namespace platform::ffmpeg

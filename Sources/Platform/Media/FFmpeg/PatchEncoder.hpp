#pragma once

#include "Platform/Media/FFmpeg/Handles.hpp"
#include "Platform/Media/FFmpeg/HevcStream.hpp"
#include "Platform/Media/FFmpeg/X265Library.hpp"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace platform::ffmpeg {

/// Writes pictures of an HEVC stream that differ little from the one before: slices of blocks that are new,
/// coded by themselves, between slices of those that stand where they stood or have scrolled, which are
/// copied. On most screens hardly more than the pointer moves, or a page scrolls; libx265 takes as long for
/// such a picture as for another.
class PatchEncoder {
  public:
    /// What pictures are, and the stream that they go into, whose blocks are `blockSide` wide.
    PatchEncoder(const AVCodecContext& description, const HevcStream& stream);

    static constexpr int blockSide = 32;  // pixels

    /// The picture that the next follows.
    void setPrevious(FramePtr picture) { previous_ = std::move(picture); }
    /// The slices, with start codes, of a picture of the same size. Empty where coding the whole picture pays
    /// better. Throws PlatformError.
    Bytes encode(const AVFrame& picture, HevcStream::Place place, int quantiser);

  private:
    struct Run {
        int firstBlock;
        int count;
        bool isCoded;
    };
    /// Codes blocks that stand side by side.
    struct RowEncoder {
        X265Library library;
        FramePtr picture;
        bool isAlike;  // its blocks are coded as those of the stream
    };
    int followScroll(const AVFrame& picture, int rows);
    Bytes slices(const AVFrame& picture, HevcStream::Place place, int quantiser);
    std::vector<Run> runs() const;
    Bytes code(const AVFrame& picture, const Run& run, int quantiser);
    RowEncoder& rowEncoder(int blocks);

    AVRational rate_;
    HevcStream stream_;
    FramePtr previous_;
    std::vector<std::uint8_t> constant_;  // the blocks that the previous picture holds
    std::vector<int> scrolled_;           // how many rows farther down
    bool wasPatched_ = true;              // the previous picture
    double patched_ = 0;                  // blocks of late, but for those that scrolling brought up
    std::map<int, RowEncoder> rows_;      // by their number of blocks
};

}  // namespace platform::ffmpeg

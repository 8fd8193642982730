#pragma once

#include "Platform/Media/FFmpeg/BitStream.hpp"

#include <cstdint>
#include <optional>
#include <span>

namespace platform::ffmpeg {

/// The parameter sets of a stream, as units without start code or length, in the form that MPEG-4 files keep
/// (avcC, lengths of four bytes).
Bytes avcConfiguration(std::span<const std::uint8_t> sequenceSet, std::span<const std::uint8_t> pictureSet);

/// What an H.264 stream is made of when every picture refers to the one before it: then a picture that looks
/// like its predecessor is a dozen bytes, "skip every block", that need no encoder.
class H264Stream {
  public:
    /// Reads the parameter sets. Absent where the stream has anything that a repeated picture does not reckon
    /// with: other references, fields, arithmetic coding, weights, another order than that of decoding.
    static std::optional<H264Stream> of(std::span<const std::uint8_t> sequenceSet,
                                        std::span<const std::uint8_t> pictureSet);

    /// A unit for a picture, not a key picture, that is its predecessor once more.
    Bytes repetition(int frameNumber) const;
    /// Numbers a slice; `unit` without start code or length. Numbers count the pictures since the last key
    /// picture, which is 0; they may be of any size.
    void setFrameNumber(Bytes& unit, int frameNumber) const;

  private:
    int frameNumberBits_ = 0;
    std::uint32_t blocks_ = 0;
    bool hasDeblockingControl_ = false;
};

}  // namespace platform::ffmpeg

#pragma once

#include "Platform/Media/FFmpeg/VideoEncoder.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace platform::ffmpeg {

PixelBufferRef copyOf(const PixelBuffer& picture);
/// A page of strokes as sharp as letters, its lines moved up by `scrolled`.
PixelBufferRef page(int width, int height, int scrolled = 0);
void fill(PixelBuffer& picture, int left, int top, int width, int height, std::uint8_t luma);
/// The worst mean difference of luma in any block of 16 pixels.
double worstBlock(const PixelBuffer& a, const PixelBuffer& b);

/// A decoder of what the encoder described makes, that forgives nothing.
CodecPtr strictDecoder(const AVCodecContext& description);

struct Shown {
    ConstPixelBufferRef picture;
    std::int64_t time;  // 1/90000 s
    bool isKeyFrame = false;
    double coarser = 0;
};
struct Encoded {
    std::vector<PixelBufferRef> pictures;  // as decoded
    std::vector<int> sizes;                // of the packets, bytes
    std::vector<std::size_t> keyFrames;
};
/// Encodes and decodes with a decoder that forgives nothing; fails the test where pictures are missing or
/// have other times.
Encoded encoded(const std::string& encoder, const VideoSettings& settings, const std::vector<Shown>& shown);

}  // namespace platform::ffmpeg

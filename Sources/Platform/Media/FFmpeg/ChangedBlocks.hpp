#pragma once

#include "Platform/Media/FFmpeg/Handles.hpp"

#include <cstdint>
#include <span>

namespace platform::ffmpeg {

/// The side of a macroblock of H.264, in pixels of luma.
inline constexpr int macroblockSide = 16;
constexpr int macroblocks(int pixels) { return (pixels + macroblockSide - 1) / macroblockSide; }

/// Compares two i420 pictures of one size, both sides even, sample by sample. `constant` has a place for each
/// block of `side` pixels, row by row, and receives 1 where all three planes are the same, otherwise 0.
/// Returns the number of blocks that differ.
template <int side>
int compareBlocks(const AVFrame& picture, const AVFrame& previous, std::span<std::uint8_t> constant);
extern template int compareBlocks<16>(const AVFrame&, const AVFrame&, std::span<std::uint8_t>);
extern template int compareBlocks<32>(const AVFrame&, const AVFrame&, std::span<std::uint8_t>);

}  // namespace platform::ffmpeg

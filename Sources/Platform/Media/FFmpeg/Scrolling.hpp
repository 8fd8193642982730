#pragma once

#include "Platform/Media/FFmpeg/Handles.hpp"

#include <cstdint>
#include <span>

namespace platform::ffmpeg {

/// How far what the changed blocks show has scrolled: the rows by which it stands farther down in
/// `reference`, of which most of it agrees; 0 where nothing has. `constant` as from compareBlocks.
int findScroll(const AVFrame& picture, const AVFrame& reference, std::span<const std::uint8_t> constant,
               int side);

/// Whether predicting a block of `side` pixels at a place from `rows` farther down in the reference gives
/// exactly its samples.
bool isScrolled(const AVFrame& picture, const AVFrame& reference, int x, int y, int side, int rows);

}  // namespace platform::ffmpeg

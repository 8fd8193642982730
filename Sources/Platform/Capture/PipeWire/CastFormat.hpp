#pragma once

#include "Platform/Capture/PipeWire/CameraFormat.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;
struct spa_pod_builder;

namespace platform::pipewire {

/// The pixel formats (SPA_VIDEO_FORMAT_*) that `readPicture` reads, the best first: with alpha, which shows
/// where a window ends.
inline constexpr std::size_t castFormatCount = 10;
extern const std::array<std::uint32_t, castFormatCount> castFormats;

/// How a compositor sends its pictures.
struct CastFormat {
    std::uint32_t pixelFormat = 0;
    Size size;
    bool isDmaBuf = false;  ///< in the graphics card's memory, which is mapped
};

/// What to ask a compositor for: everything that can be read, in memory that both sides see or, in the last
/// resort, in a linear DMA-BUF. The pods live in `builder`, which needs 4 kB.
std::vector<const spa_pod*> castFormatParams(spa_pod_builder& builder);

/// The format that was agreed on; absent when it is none that can be read.
std::optional<CastFormat> readCastFormat(const spa_pod* param);

/// The buffers that a format needs, and what they are to tell beside the picture: its time, which part of
/// them it is, what has changed, and the pointer with a picture of at most `largestCursor` pixels a side.
std::vector<const spa_pod*> castBufferParams(spa_pod_builder& builder, const CastFormat& format,
                                             int largestCursor);

}  // namespace platform::pipewire

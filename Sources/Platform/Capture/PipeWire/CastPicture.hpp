#pragma once

#include "Platform/Capture/Frames/RectList.hpp"
#include "Platform/Capture/PipeWire/CastFormat.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstdint>
#include <optional>

struct spa_buffer;

namespace platform::pipewire {

/// A picture as a compositor delivers it: rows of packed pixels in memory that is not ours, and never
/// written to.
struct CastPicture {
    std::uint32_t format = 0;  ///< SPA_VIDEO_FORMAT_*
    Plane plane;
    int x = 0;  ///< of its top left in the whole stream, of which it may be a part
    int y = 0;
    /// Where it differs from the picture before; absent when the compositor does not say.
    std::optional<RectList> changes;
};

/// The picture in a buffer of a stream of that format; absent when there is none (the buffer brings only the
/// pointer) or what the buffer says of itself cannot be true.
std::optional<CastPicture> readPicture(const spa_buffer& buffer, const CastFormat& format);

/// Whether its pixels are those of a bgra picture, but for what stands in the place of alpha.
bool isBgra(const CastPicture& picture);
/// Converts a part of the picture into a bgra plane of the same size; what stands in the place of alpha is
/// undefined.
void draw(const CastPicture& picture, const PixelRect& part, const Plane& plane);

}  // namespace platform::pipewire

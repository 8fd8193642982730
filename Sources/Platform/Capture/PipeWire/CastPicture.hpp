#pragma once

#include "Platform/Capture/PipeWire/CameraFormat.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <array>
#include <cstdint>
#include <optional>

struct spa_buffer;

namespace platform::pipewire {

/// A picture as a compositor delivers it: rows of packed pixels in memory that is not ours.
struct CastPicture {
    std::uint32_t format = 0;  ///< SPA_VIDEO_FORMAT_*
    const std::uint8_t* data = nullptr;
    int stride = 0;  ///< bytes
    int width = 0;
    int height = 0;
    int x = 0;  ///< of its top left in the whole stream, of which it may be a part
    int y = 0;
};

/// The formats that `draw` reads, the best first.
inline constexpr std::size_t castFormatCount = 10;
extern const std::array<std::uint32_t, castFormatCount> castFormats;

/// The picture in a buffer of a stream of that format and size; absent when there is none (the buffer brings
/// only the pointer) or what the buffer says of itself cannot be true.
std::optional<CastPicture> readPicture(const spa_buffer& buffer, std::uint32_t format, Size size);

/// Copies the picture into an opaque bgra plane of the same size.
void draw(const CastPicture& picture, const Plane& plane);

/// Where a picture of one size lies in a frame of another one: as large as fits, in the middle. Sizes that
/// differ by no more than a pixel's rounding are taken for the same.
struct CastFit {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool isExact = false;  ///< pixel for pixel at the top left, less or more by one row or column
};
CastFit fitPicture(int width, int height, int frameWidth, int frameHeight);

/// Draws a bgra picture into a bgra frame at the fitted place, the rest black (or, by one line, repeated).
void drawFitted(const Plane& picture, const CastFit& fit, const Plane& frame);

}  // namespace platform::pipewire

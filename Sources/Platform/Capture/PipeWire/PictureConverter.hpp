#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace platform::pipewire {

/// How a camera's pictures lie in memory.
enum class PictureLayout {
    yuy2,
    uyvy,
    nv12,
    nv21,
    i420,
    yv12,
    i422,
    i444,
    gray,
    bgra,
    rgba,
    argb,
    abgr,
    bgr,
    rgb
};

/// A picture in a camera's own layout. Planes that the layout does not have stay null.
struct RawPicture {
    PictureLayout layout = PictureLayout::i420;
    int width = 0;
    int height = 0;
    std::array<const std::uint8_t*, 3> planes{};
    std::array<int, 3> strides{};  ///< bytes
    ColorMatrix matrix = ColorMatrix::bt601Limited;
};

/// Turns pictures of any layout and size into i420 of one size: the largest part in the middle that has the
/// target's shape, scaled, and flipped left to right when asked. One thread.
class PictureConverter {
  public:
    /// At most `limit` converted pictures are out at one time.
    PictureConverter(int width, int height, std::size_t limit);

    /// Null when the picture is not whole or all converted pictures are still out.
    ConstPixelBufferRef convert(const RawPicture& picture, bool mirrored);

  private:
    struct Planes {
        std::array<std::uint8_t*, 3> data{};
        std::array<int, 3> strides{};
    };
    struct Scratch {
        std::vector<std::uint8_t> bytes;
        Planes planesFor(int width, int height);
    };

    int width_;
    int height_;
    std::size_t limit_;
    std::optional<PixelBufferPool> pool_;
    std::optional<ColorMatrix> poolMatrix_;
    Scratch whole_, scaled_;
};

}  // namespace platform::pipewire

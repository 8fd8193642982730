#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

/// How pixels lie in memory. Rows run from the top of the picture to its bottom in every format.
enum class PixelFormat {
    bgra,   ///< one plane, 4 bytes a pixel: blue, green, red, alpha; premultiplied
    i420,   ///< three planes Y, U, V; chroma at half the width and height, rounded up
    gray8,  ///< one plane, one byte a pixel
};

/// How the planes of an i420 buffer map to red, green and blue. Other formats ignore it.
enum class ColorMatrix { bt601Limited, bt601Full, bt709Limited, bt709Full };

struct Plane {
    std::uint8_t* data = nullptr;
    int stride = 0;  ///< bytes from one row to the next
    int width = 0;   ///< in samples of this plane
    int height = 0;
};

/// A picture in memory. Shared by reference; the receiver of one from a reader or a capture stream
/// does not write to it. The memory is its own, a pool's, or kept alive by `owner`.
class PixelBuffer {
  public:
    /// Allocates zeroed planes (rows aligned for SIMD). Throws PlatformError("Imaging", 1) when a
    /// side is not positive or above 32768.
    PixelBuffer(PixelFormat format, int width, int height, ColorMatrix matrix = ColorMatrix::bt709Limited);
    /// Wraps memory that `owner` keeps alive: a decoded frame, a shared-memory segment.
    PixelBuffer(PixelFormat format, int width, int height, std::array<Plane, 3> planes,
                std::shared_ptr<const void> owner, ColorMatrix matrix = ColorMatrix::bt709Limited);
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    PixelFormat format() const { return format_; }
    ColorMatrix matrix() const { return matrix_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int planeCount() const { return format_ == PixelFormat::i420 ? 3 : 1; }
    const Plane& plane(int index = 0) const { return planes_[static_cast<std::size_t>(index)]; }
    /// The first sample of a plane's row.
    std::uint8_t* row(int y, int index = 0) const {
        return plane(index).data + static_cast<std::ptrdiff_t>(y) * plane(index).stride;
    }

  private:
    PixelFormat format_;
    ColorMatrix matrix_;
    int width_;
    int height_;
    std::array<Plane, 3> planes_{};
    std::shared_ptr<const void> owner_;
};

using PixelBufferRef = std::shared_ptr<PixelBuffer>;
using ConstPixelBufferRef = std::shared_ptr<const PixelBuffer>;

/// Recycles buffers of one shape. A buffer goes back when its last reference is dropped, also after
/// the pool itself has gone. Safe on any thread.
class PixelBufferPool {
  public:
    /// At most `limit` buffers are out at one time.
    PixelBufferPool(PixelFormat format, int width, int height, std::size_t limit,
                    ColorMatrix matrix = ColorMatrix::bt709Limited);

    /// A buffer with unspecified contents; null when `limit` of them are out.
    PixelBufferRef createPixelBuffer();

    PixelFormat format() const { return format_; }
    int width() const { return width_; }
    int height() const { return height_; }

  private:
    struct Shelf;
    PixelFormat format_;
    int width_;
    int height_;
    ColorMatrix matrix_;
    std::shared_ptr<Shelf> shelf_;
};

}  // namespace platform

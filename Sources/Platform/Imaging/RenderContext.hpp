#pragma once

#include "Platform/Imaging/Image.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

namespace platform {

/// Computes recipes. Keeps scratch memory between calls; used on one thread at a time.
class RenderContext {
  public:
    RenderContext();
    ~RenderContext();
    RenderContext(RenderContext&&) noexcept;
    RenderContext& operator=(RenderContext&&) noexcept;

    /// Renders the part of `image` inside `bounds` (image plane, y upwards; its size is the target's)
    /// into the whole of `target`, a bgra, i420 or gray8 buffer. What the picture leaves transparent
    /// becomes transparent black in bgra, black in the others. An i420 target is composed in place:
    /// the picture at the bottom of the stack is resampled plane by plane and an overlay costs only
    /// its own rectangle.
    void render(const Image& image, PixelBuffer& target, const Rect& bounds);

    /// Renders `image` into a new bgra buffer of the given size with its origin at (0, 0).
    PixelBufferRef makeBitmap(const Image& image, int width, int height);

  private:
    struct Scratch;
    std::unique_ptr<Scratch> scratch_;
};

/// Converts a picture to another format (the sizes must match); used where a frame leaves the image
/// plane: encoders, windows, vision. Throws PlatformError("Imaging", 2) for a pair that makes no sense.
void convertPixels(const PixelBuffer& from, PixelBuffer& to);

}  // namespace platform

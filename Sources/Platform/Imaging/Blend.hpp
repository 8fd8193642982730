#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

namespace platform {

// Arithmetic on pictures. bgra is premultiplied.

/// Fills a bgra or i420 picture with opaque black.
void fillBlack(PixelBuffer& picture);

/// Source-over: top + below × (1 − top's alpha), rounded. `top` (bgra) lies wholly inside of `below` (bgra or
/// i420) with its top left at (x, y); both even on i420. Where `top` is transparent, `below` stays as it is.
void blendOver(const PixelBuffer& top, PixelBuffer& below, int x, int y);

/// Every channel of `picture` (bgra) × the mask (gray8, of the same size), rounded.
void multiplyByMask(PixelBuffer& picture, const PixelBuffer& mask);

/// Every channel of `picture` + `other`, both bgra and of one size; 255 at most.
void add(const PixelBuffer& other, PixelBuffer& picture);

}  // namespace platform

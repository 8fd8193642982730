#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Imaging/PixelRect.hpp"

namespace platform {

/// The largest rectangle of the source's proportions inside a frame, centred. A source that is at most one
/// pixel smaller than the frame (sizes are rounded up to even ones) is left at its size, at the top left.
PixelRect letterboxed(int sourceWidth, int sourceHeight, int frameWidth, int frameHeight);

/// Draws bgra pixels into a bgra frame, fitted as above: the rest is black, the odd last column or row
/// repeats its neighbour. The frame becomes opaque when the source is.
void drawLetterboxed(const Plane& source, PixelBuffer& frame);

/// Sets every pixel's alpha to 255.
void makeOpaque(const Plane& bgra);

}  // namespace platform

#pragma once

#include "Platform/Imaging/Geometry.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

namespace platform {

/// Draws an ellipse over a bgra picture, anti-aliased. `bounds` in pixels, origin at the top left, y down;
/// what lies outside of the picture is cut off. Bounds that are no rectangle draw nothing.
void fillEllipse(PixelBuffer& over, const Rect& bounds, const Color& color);
/// The same of its outline; the line is centered on the ellipse's edge.
void strokeEllipse(PixelBuffer& over, const Rect& bounds, const Color& color, double lineWidth);

}  // namespace platform

#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Imaging/PixelRect.hpp"

#include <cstdint>
#include <vector>

namespace platform {

/// The pointer's picture, and which of its pixels points.
struct CursorImage {
    int width = 0;
    int height = 0;
    int hotX = 0;
    int hotY = 0;
    std::vector<std::uint32_t> pixels;  ///< premultiplied, alpha in the highest byte

    /// What it covers while it points at (`x`, `y`).
    PixelRect boundsAt(int x, int y) const { return {x - hotX, y - hotY, width, height}; }
    /// Draws it into an opaque bgra picture, of which it points at (`x`, `y`); cut off at the edges.
    void draw(const Plane& picture, int x, int y) const;
};

}  // namespace platform

#pragma once

#include "Platform/Imaging/AxisMap.hpp"
#include "Platform/Imaging/ImageNode.hpp"
#include "Platform/Imaging/Tile.hpp"

namespace platform::imaging {

/// Draws the canvas's shapes, anti-aliased, over the tile, which is not blank. The shapes are drawn at the
/// tile's resolution: a scaled canvas stays sharp.
void rasteriseCanvas(const CanvasNode& canvas, const AxisMap& map, const Tile& tile);

}  // namespace platform::imaging

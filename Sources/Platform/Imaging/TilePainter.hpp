#pragma once

#include "Platform/Imaging/ImageNode.hpp"
#include "Platform/Imaging/RenderMemory.hpp"
#include "Platform/Imaging/Tile.hpp"
#include "Platform/Imaging/View.hpp"

#include <optional>

namespace platform::imaging {

/// Evaluates recipes into tiles.
class TilePainter {
  public:
    explicit TilePainter(RenderMemory& memory) : memory_(memory) {}

    /// Composes the node over what the bgra tile holds. A blank tile may stay blank.
    void paint(const ImageNode& node, const View& view, Tile& tile);
    /// Fills a tile of one channel with the node's green, 0 where it is transparent.
    void paintGreen(const ImageNode& node, const View& view, Tile& tile);

  private:
    struct Tint;

    /// Calls `draw` with a blank tile for `rect` and composes what it fills over `tile`.
    template <typename Draw>
    void compose(Tile& tile, const PixelBox& rect, bool opaque, Draw draw);
    void paintBuffer(const PixelBuffer& buffer, const View& view, const PixelBox& rect, Tile& tile);
    void fillFromPlanes(const PlacedBuffer& placed, Tile& tile);
    void paintConstant(const Color& color, const PixelBox& rect, Tile& tile);
    void fillMasked(const MaskNode& node, const View& view, Tile& tile);
    void fillBlurred(const BlurNode& node, const View& view, Tile& tile);
    void fillBlurredPixels(const BlurNode& node, const View& view, double sigmaX, double sigmaY, Tile& tile);
    void fillTinted(const Tint& tint, const Tile& coverage, Tile& tile);
    static std::optional<Tint> tintOf(const ImageNode& node, View view);
    const PixelBuffer& bgraOf(const MemoNode& node);
    const PixelBuffer& greenOf(const MemoNode& node);

    RenderMemory& memory_;
};

}  // namespace platform::imaging

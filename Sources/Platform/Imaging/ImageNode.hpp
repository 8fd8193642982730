#pragma once

#include "Platform/Imaging/AxisMap.hpp"
#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/Image.hpp"

#include <memory>
#include <mutex>
#include <variant>
#include <vector>

namespace platform {

using NodeRef = std::shared_ptr<const ImageNode>;

struct BufferNode {
    ConstPixelBufferRef buffer;
};
struct ConstantNode {
    Color color;
};
struct CanvasNode {
    using Shape = Canvas::Shape;
    std::vector<Shape> shapes;
};
struct CropNode {
    NodeRef child;
    Rect to;
};
struct AffineNode {
    NodeRef child;
    imaging::AxisMap map;
};
struct OverNode {
    NodeRef top;
    NodeRef below;
};
struct MaskNode {
    NodeRef input;
    NodeRef mask;
};
struct BlurNode {
    NodeRef child;
    double sigma;
};
/// Keeps what its child computes: the full picture, and apart from it the green channel alone, which
/// is all that a mask needs. `origin` of both is the rectangle's left and upper edge in the plane.
struct MemoNode {
    NodeRef child;
    /// Whole pixels of the plane that the child may fill, y upwards.
    Rect pixels;

    struct Store {
        std::once_flag bgraOnce;
        std::once_flag greenOnce;
        ConstPixelBufferRef bgra;
        ConstPixelBufferRef green;
    };
    std::shared_ptr<Store> store = std::make_shared<Store>();
};

/// One step of a recipe. Coordinates are those of the image plane: y upwards.
struct ImageNode {
    using Content = std::variant<std::monostate, BufferNode, ConstantNode, CanvasNode, CropNode, AffineNode,
                                 OverNode, MaskNode, BlurNode, MemoNode>;
    Content content;
    /// What callers are told.
    Rect extent;
    /// Where a pixel may really differ from transparent; a canvas is often nearly empty.
    Rect visible;
};

}  // namespace platform

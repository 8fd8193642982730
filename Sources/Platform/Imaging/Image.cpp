#include "Platform/Imaging/Image.hpp"

#include "Platform/Imaging/ImageNode.hpp"

#include <cmath>
#include <utility>

namespace platform {
namespace {

using imaging::AxisMap;
using imaging::isInfinite;
using imaging::sanitized;

/// Larger tiles than this cannot be kept in one buffer.
constexpr double largestMemoSide = 32768;

Image make(ImageNode::Content content, const Rect& extent, const Rect& visible) {
    return Image(std::make_shared<const ImageNode>(ImageNode{std::move(content), extent, visible}));
}

const NodeRef& emptyNode() {
    static const NodeRef node = std::make_shared<const ImageNode>();
    return node;
}

Image transformed(const NodeRef& child, const AxisMap& map) {
    if (!map.isUsable()) return {};
    return make(AffineNode{child, map}, map(child->extent), map(child->visible));
}

}  // namespace

Image::Image() : node_(emptyNode()) {}

Image Image::fromBuffer(ConstPixelBufferRef buffer) {
    if (!buffer) return {};
    const Rect extent{0, 0, static_cast<double>(buffer->width()), static_cast<double>(buffer->height())};
    return make(BufferNode{std::move(buffer)}, extent, extent);
}

Image Image::constant(const Color& color) {
    const Rect plane = imaging::wholePlane();
    return make(ConstantNode{color}, plane, plane);
}

Rect Image::extent() const { return node_->extent; }

Image Image::cropped(const Rect& to) const {
    const Rect rect = sanitized(to);
    const Rect extent = node_->extent.intersected(rect);
    if (extent.isEmpty()) return {};
    return make(CropNode{node_, rect}, extent, node_->visible.intersected(rect));
}

Image Image::translated(double dx, double dy) const { return transformed(node_, {1, 1, dx, dy}); }

Image Image::scaled(double sx, double sy) const { return transformed(node_, {sx, sy, 0, 0}); }

Image Image::compositedOver(const Image& below) const {
    if (isEmpty()) return below;
    if (below.isEmpty()) return *this;
    return make(OverNode{node_, below.node_}, node_->extent.united(below.node_->extent),
                node_->visible.united(below.node_->visible));
}

std::optional<Image> Image::blendedWithMask(const Image& mask) const {
    const Rect extent = node_->extent.intersected(mask.node_->extent);
    if (extent.isEmpty()) return std::nullopt;
    return make(MaskNode{node_, mask.node_}, extent, node_->visible.intersected(mask.node_->visible));
}

std::optional<Image> Image::gaussianBlurred(double radius) const {
    const Rect extent = node_->extent;
    if (extent.isEmpty() || isInfinite(extent) || !(radius > 0) || !std::isfinite(radius))
        return std::nullopt;
    const Rect visible = node_->visible;
    return make(BlurNode{node_, radius}, extent.insetBy(-3 * radius),
                visible.isEmpty() ? Rect{} : visible.insetBy(-3 * radius));
}

Image Image::memoized() const {
    if (std::holds_alternative<MemoNode>(node_->content) || node_->visible.isEmpty()) return *this;
    const Rect v = node_->visible;
    const double left = std::floor(v.x), low = std::floor(v.y);
    const Rect pixels{left, low, std::ceil(v.maxX()) - left, std::ceil(v.maxY()) - low};
    // What is too large to keep is computed each time instead.
    if (pixels.w > largestMemoSide || pixels.h > largestMemoSide) return *this;
    return make(MemoNode{node_, pixels}, node_->extent, v);
}

}  // namespace platform

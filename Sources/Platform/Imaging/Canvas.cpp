#include "Platform/Imaging/Canvas.hpp"

#include "Platform/Imaging/ImageNode.hpp"

#include <cmath>

namespace platform {
namespace {

bool isDrawable(const Rect& bounds) {
    return std::isfinite(bounds.x) && std::isfinite(bounds.y) && std::isfinite(bounds.w) &&
           std::isfinite(bounds.h) && !bounds.isEmpty();
}

}  // namespace

void Canvas::fillEllipse(const Rect& bounds, const Color& color) {
    if (isDrawable(bounds)) shapes_.push_back({bounds, color, 0});
}

void Canvas::strokeEllipse(const Rect& bounds, const Color& color, double lineWidth) {
    if (isDrawable(bounds) && std::isfinite(lineWidth) && lineWidth > 0)
        shapes_.push_back({bounds, color, lineWidth});
}

Image Canvas::image() const {
    const Rect extent = imaging::sanitized({0, 0, static_cast<double>(width_), static_cast<double>(height_)});
    if (extent.isEmpty()) return {};
    Rect visible;
    for (const Shape& shape : shapes_)
        // One pixel more for the soft edge, which a scaled canvas may place differently.
        visible = visible.united(shape.bounds.insetBy(-shape.lineWidth / 2 - 1).intersected(extent));
    return Image(std::make_shared<const ImageNode>(ImageNode{CanvasNode{shapes_}, extent, visible}));
}

}  // namespace platform

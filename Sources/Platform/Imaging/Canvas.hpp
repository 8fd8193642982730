#pragma once

#include "Platform/Imaging/Image.hpp"

#include <vector>

namespace platform {

/// A small transparent bitmap to draw ellipses on, anti-aliased; origin at the bottom left, y upwards.
/// Later shapes lie over earlier ones. Only the rectangle the shapes cover is ever drawn or kept.
class Canvas {
  public:
    /// Width and height in pixels, both positive.
    Canvas(int width, int height) : width_(width), height_(height) {}

    void fillEllipse(const Rect& bounds, const Color& color);
    /// The line is centred on the ellipse's edge.
    void strokeEllipse(const Rect& bounds, const Color& color, double lineWidth);

    /// What has been drawn so far, extent (0, 0, width, height).
    Image image() const;

  private:
    friend struct CanvasNode;
    struct Shape {
        Rect bounds;
        Color color;
        double lineWidth;  // 0 fills
    };
    int width_;
    int height_;
    std::vector<Shape> shapes_;
};

}  // namespace platform

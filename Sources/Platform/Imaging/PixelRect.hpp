#pragma once

#include <algorithm>

namespace platform {

/// A rectangle of whole pixels, origin at the top left, y down.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int maxX() const { return x + width; }
    int maxY() const { return y + height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    bool contains(int px, int py) const { return px >= x && px < maxX() && py >= y && py < maxY(); }
    bool contains(const PixelRect& o) const {
        return o.x >= x && o.y >= y && o.maxX() <= maxX() && o.maxY() <= maxY();
    }
    PixelRect intersected(const PixelRect& o) const {
        const int left = std::max(x, o.x), top = std::max(y, o.y);
        const int right = std::min(maxX(), o.maxX()), bottom = std::min(maxY(), o.maxY());
        return right > left && bottom > top ? PixelRect{left, top, right - left, bottom - top} : PixelRect{};
    }
    PixelRect translated(int dx, int dy) const { return {x + dx, y + dy, width, height}; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

}  // namespace platform

#pragma once

#include <algorithm>

namespace platform {

/// A rectangle. Unit, origin and direction of y are those of the space it is used in.
struct Rect {
    double x = 0;
    double y = 0;
    double w = 0;
    double h = 0;

    double maxX() const { return x + w; }
    double maxY() const { return y + h; }
    bool isEmpty() const { return !(w > 0 && h > 0); }

    Rect translated(double dx, double dy) const { return {x + dx, y + dy, w, h}; }
    Rect insetBy(double d) const { return {x + d, y + d, w - 2 * d, h - 2 * d}; }
    friend bool operator==(const Rect&, const Rect&) = default;
};

/// A color with straight (not premultiplied) alpha, components 0…1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    Color withAlpha(double a) const { return {red, green, blue, a}; }
    friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace platform

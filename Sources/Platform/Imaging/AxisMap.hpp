#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform::imaging {

/// Whole pixels [left, right) × [top, bottom), y downwards.
struct PixelBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    bool contains(const PixelBox& o) const {
        return o.left >= left && o.top >= top && o.right <= right && o.bottom <= bottom;
    }
    PixelBox intersected(const PixelBox& o) const {
        const PixelBox r{std::max(left, o.left), std::max(top, o.top), std::min(right, o.right),
                         std::min(bottom, o.bottom)};
        return r.isEmpty() ? PixelBox{} : r;
    }
    PixelBox united(const PixelBox& o) const {
        return {std::min(left, o.left), std::min(top, o.top), std::max(right, o.right),
                std::max(bottom, o.bottom)};
    }
    friend bool operator==(const PixelBox&, const PixelBox&) = default;
};

/// The whole plane. Half of the largest number on each side, so that `maxX` stays finite.
inline Rect wholePlane() {
    constexpr double most = std::numeric_limits<double>::max();
    return {-most / 2, -most / 2, most, most};
}
inline bool isInfinite(const Rect& r) {
    constexpr double much = std::numeric_limits<double>::max() / 4;
    return r.w > much || r.h > much;
}

/// `r` without NaN and infinities: what cannot be a rectangle becomes empty, what is too large is cut.
inline Rect sanitized(const Rect& r) {
    if (std::isnan(r.x) || std::isnan(r.y) || r.isEmpty()) return {};
    const Rect plane = wholePlane();
    const auto side = [](double low, double size, double& start, double& length) {
        constexpr double edge = std::numeric_limits<double>::max() / 2;
        const double from = std::clamp(low, -edge, edge);
        // -infinity + infinity is not a number: such a side reaches to the end of the plane.
        const double end = std::isnan(low + size) ? edge : std::clamp(low + size, -edge, edge);
        start = from;
        length = end - from;
    };
    Rect result = plane;
    side(r.x, r.w, result.x, result.w);
    side(r.y, r.h, result.y, result.h);
    return result.isEmpty() ? Rect{} : result;
}

/// Maps one plane to another: X = sx · x + tx, Y = sy · y + ty. A negative scale mirrors.
struct AxisMap {
    double sx = 1;
    double sy = 1;
    double tx = 0;
    double ty = 0;

    /// This map after `first`.
    AxisMap after(const AxisMap& first) const {
        return {sx * first.sx, sy * first.sy, sx * first.tx + tx, sy * first.ty + ty};
    }
    bool isUsable() const {
        return std::isfinite(sx) && std::isfinite(sy) && std::isfinite(tx) && std::isfinite(ty) && sx != 0 &&
               sy != 0;
    }
    Rect operator()(const Rect& r) const {
        if (r.isEmpty()) return {};
        if (isInfinite(r)) {
            // A strip that is infinite in one direction only keeps its finite sides.
            const Rect x = r.w < std::numeric_limits<double>::max() / 4
                               ? AxisMap{sx, 1, tx, 0}({r.x, 0, r.w, 1})
                               : wholePlane();
            const Rect y = r.h < std::numeric_limits<double>::max() / 4
                               ? AxisMap{1, sy, 0, ty}({0, r.y, 1, r.h})
                               : wholePlane();
            return {x.x, y.y, x.w, y.h};
        }
        const double w = r.w * std::abs(sx), h = r.h * std::abs(sy);
        return sanitized({sx * (sx < 0 ? r.maxX() : r.x) + tx, sy * (sy < 0 ? r.maxY() : r.y) + ty, w, h});
    }
};

/// The pixels of `within` whose centres `r` covers. Adjacent rectangles never share a pixel; the small
/// tolerance keeps a rounding error from moving an edge that was meant to lie on a centre.
inline PixelBox coveredPixels(const Rect& r, const PixelBox& within) {
    if (r.isEmpty()) return {};
    const auto edge = [](double value, int low, int high) {
        return static_cast<int>(
            std::clamp(std::ceil(value - 0.5 - 1e-6), static_cast<double>(low), static_cast<double>(high)));
    };
    const PixelBox covered{edge(r.x, within.left, within.right), edge(r.y, within.top, within.bottom),
                           edge(r.maxX(), within.left, within.right),
                           edge(r.maxY(), within.top, within.bottom)};
    return covered.isEmpty() ? PixelBox{} : covered;
}

}  // namespace platform::imaging

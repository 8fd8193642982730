#pragma once

#include "Platform/Imaging/PixelRect.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace platform {

/// An area as rectangles that do not overlap.
using RectList = std::vector<PixelRect>;

inline RectList intersected(const RectList& area, const PixelRect& with) {
    RectList result;
    for (const PixelRect& each : area)
        if (const PixelRect common = each.intersected(with); !common.isEmpty()) result.push_back(common);
    return result;
}

inline PixelRect united(const PixelRect& a, const PixelRect& b) {
    if (a.isEmpty() || b.isEmpty()) return a.isEmpty() ? b : a;
    const int left = std::min(a.x, b.x), top = std::min(a.y, b.y);
    return {left, top, std::max(a.maxX(), b.maxX()) - left, std::max(a.maxY(), b.maxY()) - top};
}

/// The number of pixels.
inline std::int64_t pixelCount(const PixelRect& rect) {
    return static_cast<std::int64_t>(rect.width) * rect.height;
}
inline std::int64_t pixelCount(const RectList& area) {
    std::int64_t sum = 0;
    for (const PixelRect& each : area) sum += pixelCount(each);
    return sum;
}

/// The area without one rectangle.
inline RectList without(const RectList& area, const PixelRect& hole) {
    RectList result;
    for (const PixelRect& each : area) {
        const PixelRect cut = each.intersected(hole);
        if (cut.isEmpty()) {
            result.push_back(each);
            continue;
        }
        const PixelRect rest[] = {{each.x, each.y, each.width, cut.y - each.y},
                                  {each.x, cut.maxY(), each.width, each.maxY() - cut.maxY()},
                                  {each.x, cut.y, cut.x - each.x, cut.height},
                                  {cut.maxX(), cut.y, each.maxX() - cut.maxX(), cut.height}};
        for (const PixelRect& piece : rest)
            if (!piece.isEmpty()) result.push_back(piece);
    }
    return result;
}

/// The area without another one.
inline RectList without(RectList area, const RectList& holes) {
    for (const PixelRect& hole : holes) area = without(area, hole);
    return area;
}

/// What both areas have in common.
inline RectList intersected(const RectList& a, const RectList& b) {
    RectList result;
    for (const PixelRect& each : b) {
        const RectList common = intersected(a, each);
        result.insert(result.end(), common.begin(), common.end());
    }
    return result;
}

}  // namespace platform

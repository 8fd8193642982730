#pragma once

#include "Platform/Desktop/Xcb/PixelRect.hpp"

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

}  // namespace platform

#pragma once

#include "CobaltreelCore/Models.hpp"

namespace rig {

/// What every made session says of its screen: one display of so many pixels at scale 1, whose first frame is
/// of host-clock time `first`.
inline cobaltreel::SessionMeta plainSession(int width, int height, double first) {
    cobaltreel::SessionMeta meta;
    meta.version = 1;
    meta.captureWidthPx = width;
    meta.captureHeightPx = height;
    meta.displayFramePoints = {0, 0, static_cast<double>(width), static_cast<double>(height)};
    meta.scaleFactor = 1;
    meta.mainScreenHeightPoints = height;
    meta.screenFirstPTS = first;
    return meta;
}

}  // namespace rig

#pragma once

#include "CobaltreelCore/Models.hpp"
#include "Platform/Imaging/Geometry.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <vector>

namespace cobaltreel {

/// The ring of one click.
struct Ripple {
    double x, y;      ///< its middle in output pixels
    double progress;  ///< 0 at the click to 1

    friend bool operator==(const Ripple&, const Ripple&) = default;
};

/// All that one output frame shows, the lowest layer first. Rectangles and places have their origin at the
/// top left, y down. Equal scenes look the same.
struct Scene {
    platform::ConstPixelBufferRef screen;
    platform::Rect visible;  ///< the part of the screen that fills the frame, in the screen's own pixels
    std::vector<Ripple> ripples;
    platform::ConstPixelBufferRef camera;  ///< null for none

    friend bool operator==(const Scene&, const Scene&) = default;
};

/// What stays the same from frame to frame.
struct SceneLayout {
    int width = 0;  ///< of the output, in pixels
    int height = 0;
    CameraStyle cameraStyle = CameraStyle::bubble;
    CameraCorner cameraCorner = CameraCorner::bottomLeft;
    int cameraHeight = 0;  ///< of the bubble or the cut-out, in output pixels
};

}  // namespace cobaltreel

#pragma once

#include "CobaltreelCore/TrimMath.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <span>

namespace cobaltreel {

/// About how many bytes a GIF of a recording takes, from what recordings of desktops took: while the camera
/// moves each picture is a new one, while it rests little changes. Content that moves by itself takes many
/// times as much.
double estimatedGifBytes(const OutputSize& size, int framesPerSecond, double duration,
                         std::span<const CameraMove> moves, bool showsCamera);

}  // namespace cobaltreel

#pragma once

#include "Platform/Imaging/Geometry.hpp"

namespace cobaltreel {

/// Colors that several parts of the program draw, in sRGB.
namespace Colors {

/// The one highlight: the click ripples, and the ring around the camera on the desktop, in the preview and in
/// the movie.
inline constexpr platform::Color highlight{212.0 / 255, 160.0 / 255, 23.0 / 255, 1};
inline constexpr platform::Color ring{highlight.red, highlight.green, highlight.blue, 0.9};
/// Behind everything in a window; the views know it as `Color.window`.
inline constexpr platform::Color window{0.12, 0.12, 0.12, 1};

}  // namespace Colors

}  // namespace cobaltreel

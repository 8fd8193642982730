#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Imaging/Resampler.hpp"

namespace cobaltreel {

/// How far below its owner a shadow lies, in output pixels.
inline constexpr double shadowDrop = 4;

/// Fills `target` (bgra) with the soft black shadow of `coverage` (gray8, of the same size), blurred with
/// standard deviation `radius` pixels.
void drawShadow(const platform::PixelBuffer& coverage, double radius, platform::PixelBuffer& target,
                platform::Resampler& resampler);

}  // namespace cobaltreel

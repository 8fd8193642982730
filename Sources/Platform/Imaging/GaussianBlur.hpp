#pragma once

#include "Platform/Imaging/Tile.hpp"

namespace platform::imaging {

class RenderMemory;

/// Largest standard deviation `gaussianBlur` takes; its sums of so many taps stay within 16 bits.
constexpr double largestBlurSigma = 16;

/// How far a blur spreads: three standard deviations, in whole pixels.
int blurReach(double sigma);

/// Fills the whole of `to` with the blurred `from`, which is transparent beyond its rectangle. Both
/// lie in the same plane and have the same number of channels; `from` is not blank.
void gaussianBlur(const Tile& from, Tile& to, double sigmaX, double sigmaY, RenderMemory& memory);

}  // namespace platform::imaging

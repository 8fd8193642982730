#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"

#include <algorithm>

namespace fidelity {

/// Structural similarity (Wang et al. 2004) of two planes of one size, 8-bit: the mean over windows of 8 × 8
/// samples, four apart. 1 when they are the same; text reads well above 0.98 and badly below 0.9.
double ssim(const platform::Plane& a, const platform::Plane& b);

/// That of luma and the smaller of the two chroma planes'.
struct Similarity {
    double luma = 1;
    double color = 1;

    void keepWorst(const Similarity& other) {
        luma = std::min(luma, other.luma);
        color = std::min(color, other.color);
    }
};
/// Both are i420 of one size.
Similarity similarity(const platform::PixelBuffer& a, const platform::PixelBuffer& b);

}  // namespace fidelity

#pragma once

#include <cstdint>

namespace platform::imaging {

struct AxisFilter;

/// The inner loops over bytes of pixels. A "sum" is a level in 1/64 steps, 0…255 × 64
/// and a quarter of that beyond on both sides, where a filter overshoots.
/// Rows passed in never overlap the row written, except where a kernel works in place.
struct PixelKernels {
    /// sums[i] = Σ rows[t][i] · weights[t] / 16384, t below `taps`.
    void (*weighBytes)(const std::uint8_t* const* rows, const std::int16_t* weights, int taps, int count,
                       std::int16_t* sums);
    void (*roundSums)(const std::int16_t* sums, int count, std::uint8_t* out);
    /// Applies a horizontal filter to one row of sums, one value a sample; `sums` starts at the
    /// filter's `low` and is readable `rowOverhang` values beyond its span.
    void (*filterGray)(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out);
    /// The same with four values a sample.
    void (*filterBgra)(const std::int16_t* sums, const AxisFilter& filter, std::uint8_t* out);
    /// below = top + below × (255 − top's alpha) / 255, rounded; premultiplied bgra.
    void (*blendOver)(const std::uint8_t* top, std::uint8_t* below, int pixels);
    /// Every channel × mask / 255, rounded.
    void (*multiplyByMask)(std::uint8_t* bgra, const std::uint8_t* mask, int pixels);
    /// bytes = bytes + other, at most 255.
    void (*add)(const std::uint8_t* other, std::uint8_t* bytes, int count);
};

/// The fastest kernels this processor runs.
const PixelKernels& pixelKernels();
/// The same arithmetic without special instructions.
const PixelKernels& portablePixelKernels();

}  // namespace platform::imaging

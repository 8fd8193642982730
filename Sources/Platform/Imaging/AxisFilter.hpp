#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace platform::imaging {

/// How samples are weighed by their distance. `linear` never leaves the range of its samples: for masks and
/// premultiplied colors. `cubic` (Catmull and Rom's) keeps the edges of text sharp: for pictures.
enum class AxisKernel { linear, cubic };

/// Where the outputs of one axis lie among its samples: the centre of output i is at a · (i + 0.5) + b,
/// measured in samples from the outer edge of sample 0. Only samples [low, high) may be read; beyond
/// them the outermost one is repeated.
struct AxisSampling {
    double a = 1;
    double b = 0;
    int low = 0;
    int high = 0;
    int count = 0;
    AxisKernel kernel = AxisKernel::linear;

    /// True when every output is exactly one sample.
    bool isCopy() const;
    /// Index of output 0's sample, when `isCopy`.
    int copyStart() const;
    friend bool operator==(const AxisSampling&, const AxisSampling&) = default;
};

/// The weights of one axis: the kernel's curve over the samples when it enlarges (interpolation), over the
/// outputs when it shrinks (averaging).
struct AxisFilter {
    /// Eight outputs whose samples two 16-byte loads reach: where to load, and how to bring each
    /// output's pair of taps side by side.
    struct Block {
        std::array<std::int32_t, 2> base;
        alignas(32) std::array<std::uint8_t, 32> shuffle;
    };

    int count = 0;
    /// Taps of each output; those that are not needed weigh 0.
    int taps = 0;
    /// The samples in use: [low, low + span). `starts` counts from `low`.
    int low = 0;
    int span = 0;
    std::vector<std::int32_t> starts;
    /// count × taps; an output's weights add up to the unit.
    std::vector<std::int16_t> weights;

    /// Present when the samples of four neighbours always lie within eight (steps of at most two).
    std::vector<Block> blocks;
    /// For each block and each pair of taps: the pair's weights of the eight outputs.
    std::vector<std::int16_t> blockWeights;
};

/// Weights of a filter, in 1/16384: those of the cubic kernel add up to more than one where the outermost
/// sample is repeated.
constexpr int filterUnit = 16384;
/// How many values beyond its span a row may be read.
constexpr int rowOverhang = 32;

AxisFilter makeVerticalFilter(const AxisSampling& sampling);
/// Has an even number of taps, for steps of more than two samples a multiple of eight.
AxisFilter makeHorizontalFilter(const AxisSampling& sampling);

}  // namespace platform::imaging

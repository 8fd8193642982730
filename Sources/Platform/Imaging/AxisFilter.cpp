#include "Platform/Imaging/AxisFilter.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace platform::imaging {
namespace {

/// Beyond this many samples on each side a smaller picture skips some: the sums of the fixed-point
/// arithmetic stay within 16 bits, and at a hundredth of its size no detail is left to miss.
constexpr double widestSupport = 64;

/// Shrinking further than this is averaging with either kernel.
constexpr double widestCubic = 4;

constexpr double copyTolerance = 1e-4;

double weightOf(AxisKernel kernel, double distance) {
    const double d = std::abs(distance);
    if (kernel == AxisKernel::linear) return std::max(0.0, 1 - d);
    if (d < 1) return (1.5 * d - 2.5) * d * d + 1;
    return d < 2 ? ((-0.5 * d + 2.5) * d - 4) * d + 2 : 0;
}

AxisFilter makeFilter(const AxisSampling& sampling, int tapMultiple) {
    AxisFilter filter;
    filter.count = sampling.count;
    const int available = sampling.high - sampling.low;
    const AxisKernel kernel = std::abs(sampling.a) > widestCubic ? AxisKernel::linear : sampling.kernel;
    const double unitDistance = std::clamp(
        std::abs(sampling.a), 1.0, std::min(widestSupport, std::max(1.0, static_cast<double>(available))));
    const double support = kernel == AxisKernel::cubic ? 2 * unitDistance : unitDistance;
    const int reach = static_cast<int>(std::ceil(2 * support - 1e-6));
    const int used = std::min(reach, available);
    filter.taps = (used + tapMultiple - 1) / tapMultiple * tapMultiple;
    filter.starts.resize(static_cast<std::size_t>(filter.count));
    filter.weights.assign(static_cast<std::size_t>(filter.count) * static_cast<std::size_t>(filter.taps), 0);

    std::vector<double> weights(static_cast<std::size_t>(used));
    int first = sampling.high, last = sampling.low;
    for (int i = 0; i < filter.count; ++i) {
        const double centre =
            std::clamp(sampling.a * (i + 0.5) + sampling.b, sampling.low - support, sampling.high + support);
        const int begin = static_cast<int>(std::floor(centre - support - 0.5)) + 1;
        const int start = std::clamp(begin, sampling.low, sampling.high - used);
        std::fill(weights.begin(), weights.end(), 0.0);
        double total = 0;
        for (int k = begin; k < begin + reach; ++k) {
            const double weight = weightOf(kernel, (k + 0.5 - centre) / unitDistance);
            weights[static_cast<std::size_t>(std::clamp(k, sampling.low, sampling.high - 1) - start)] +=
                weight;
            total += weight;
        }
        // Rounding the running total keeps the sum exact and spreads the error evenly.
        double running = 0;
        int given = 0;
        auto* const row =
            &filter.weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(filter.taps)];
        for (int k = 0; k < used; ++k) {
            running += weights[static_cast<std::size_t>(k)] / total;
            const int upToHere = static_cast<int>(std::lround(running * filterUnit));
            row[k] = static_cast<std::int16_t>(upToHere - given);
            given = upToHere;
        }
        filter.starts[static_cast<std::size_t>(i)] = start;
        first = std::min(first, start);
        last = std::max(last, start + used);
    }
    filter.low = first;
    filter.span = std::max(0, last - first);
    for (auto& start : filter.starts) start -= first;
    return filter;
}

/// Lays the weights out for eight outputs at a time, if the samples lie close enough together.
void addBlocks(AxisFilter& filter) {
    constexpr int reachable = 8;
    const int blockCount = (filter.count + 7) / 8;
    const int pairs = filter.taps / 2;
    filter.blocks.resize(static_cast<std::size_t>(blockCount));
    filter.blockWeights.assign(static_cast<std::size_t>(blockCount) * static_cast<std::size_t>(pairs) * 16,
                               0);
    for (int block = 0; block < blockCount; ++block) {
        auto& layout = filter.blocks[static_cast<std::size_t>(block)];
        for (int half = 0; half < 2; ++half) {
            const auto outputAt = [&](int lane) {
                return std::min(block * 8 + half * 4 + lane, filter.count - 1);
            };
            int base = filter.starts[static_cast<std::size_t>(outputAt(0))];
            for (int lane = 1; lane < 4; ++lane)
                base = std::min(base, filter.starts[static_cast<std::size_t>(outputAt(lane))]);
            layout.base[static_cast<std::size_t>(half)] = base;
            for (int lane = 0; lane < 4; ++lane) {
                const int output = outputAt(lane);
                const int offset = filter.starts[static_cast<std::size_t>(output)] - base;
                if (offset + 2 > reachable) {
                    filter.blocks.clear();
                    filter.blockWeights.clear();
                    return;
                }
                for (int byte = 0; byte < 4; ++byte)
                    layout.shuffle[static_cast<std::size_t>(half * 16 + lane * 4 + byte)] =
                        static_cast<std::uint8_t>(offset * 2 + byte);
                for (int tap = 0; tap < filter.taps; ++tap) {
                    const int place = (block * pairs + tap / 2) * 16 + half * 8 + lane * 2 + tap % 2;
                    filter.blockWeights[static_cast<std::size_t>(place)] =
                        filter.weights[static_cast<std::size_t>(output * filter.taps + tap)];
                }
            }
        }
    }
}

}  // namespace

bool AxisSampling::isCopy() const {
    if (std::abs(a - 1) * std::max(count, 1) > copyTolerance) return false;
    if (std::abs(b - std::round(b)) > copyTolerance) return false;
    return b > low - 0.5 && b + count < high + 0.5;
}

int AxisSampling::copyStart() const { return static_cast<int>(std::lround(b)); }

AxisFilter makeVerticalFilter(const AxisSampling& sampling) { return makeFilter(sampling, 1); }

AxisFilter makeHorizontalFilter(const AxisSampling& sampling) {
    // Steps of more than two samples have no blocks, and their many taps are summed eight at a time.
    AxisFilter filter = makeFilter(sampling, std::abs(sampling.a) > 2 ? 8 : 2);
    addBlocks(filter);
    return filter;
}

}  // namespace platform::imaging

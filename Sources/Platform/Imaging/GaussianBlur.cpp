#include "Platform/Imaging/GaussianBlur.hpp"

#include "Platform/Imaging/AxisFilter.hpp"
#include "Platform/Imaging/PixelKernels.hpp"
#include "Platform/Imaging/RenderMemory.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace platform::imaging {
namespace {

/// Weights of sums; as much of 1 as 16 bits hold.
constexpr int sumUnit = 32767;
constexpr int maxTaps = 2 * 3 * static_cast<int>(largestBlurSigma) + 3;

struct BlurKernel {
    BlurKernel(double sigma, int unit) : reach(blurReach(sigma)), taps(2 * reach + 1) {
        std::array<double, maxTaps> bell{};
        double total = 0;
        for (int t = 0; t < taps; ++t) {
            const double distance = (t - reach) / sigma;
            total += bell[static_cast<std::size_t>(t)] = std::exp(-0.5 * distance * distance);
        }
        double running = 0;
        int given = 0;
        for (int t = 0; t < taps; ++t) {
            running += bell[static_cast<std::size_t>(t)] / total;
            const int upToHere = static_cast<int>(std::lround(running * unit));
            weights[static_cast<std::size_t>(t)] = static_cast<std::int16_t>(upToHere - given);
            given = upToHere;
        }
    }
    int reach;
    int taps;
    std::array<std::int16_t, maxTaps> weights{};
};

}  // namespace

int blurReach(double sigma) { return std::max(1, static_cast<int>(std::ceil(3 * sigma))); }

void gaussianBlur(const Tile& from, Tile& to, double sigmaX, double sigmaY, RenderMemory& memory) {
    const PixelKernels& kernels = pixelKernels();
    const BlurKernel across(std::min(sigmaX, largestBlurSigma), sumUnit);
    const BlurKernel down(std::min(sigmaY, largestBlurSigma), filterUnit);
    const int channels = to.channels;
    // A line reaches over everything that `to` gathers from; only the part that `from` covers is ever filled.
    const int lineLeft = to.rect.left - across.reach;
    const int lineValues = (to.rect.width() + 2 * across.reach) * channels;
    const PixelBox source = from.rect.intersected(
        {lineLeft, to.rect.top - down.reach, to.rect.right + across.reach, to.rect.bottom + down.reach});
    if (source.isEmpty()) {
        to.clearOutside({});
        return;
    }
    const auto lineMemory = memory.take(static_cast<std::size_t>(lineValues) * sizeof(std::int16_t));
    auto* const line = reinterpret_cast<std::int16_t*>(lineMemory.data());
    std::memset(line, 0, static_cast<std::size_t>(lineValues) * sizeof(std::int16_t));
    const int outValues = to.rect.width() * channels;
    const auto outMemory = memory.take(static_cast<std::size_t>(outValues) * sizeof(std::int16_t));
    auto* const out = reinterpret_cast<std::int16_t*>(outMemory.data());

    std::array<const std::uint8_t*, maxTaps> rows{};
    std::array<const std::int16_t*, maxTaps> shifts{};
    for (int t = 0; t < across.taps; ++t) shifts[static_cast<std::size_t>(t)] = line + t * channels;
    for (int y = to.rect.top; y < to.rect.bottom; ++y) {
        const int first = std::max(y - down.reach, source.top),
                  last = std::min(y + down.reach + 1, source.bottom);
        if (first >= last) {
            std::memset(to.at(to.rect.left, y), 0, static_cast<std::size_t>(outValues));
            continue;
        }
        for (int row = first; row < last; ++row)
            rows[static_cast<std::size_t>(row - first)] = from.at(source.left, row);
        kernels.weighBytes(rows.data(), &down.weights[static_cast<std::size_t>(first - (y - down.reach))],
                           last - first, source.width() * channels,
                           line + (source.left - lineLeft) * channels);
        kernels.weighSums(shifts.data(), across.weights.data(), across.taps, outValues, out);
        kernels.roundSums(out, outValues, to.at(to.rect.left, y));
    }
    to.blank = false;
}

}  // namespace platform::imaging

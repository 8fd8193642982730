#include "Cobaltreel/Scene/Shadow.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cobaltreel {
namespace {

constexpr double opacity = 0.35;

/// Black in premultiplied bgra, for each level of coverage.
std::array<std::uint32_t, 256> shades() {
    std::array<std::uint32_t, 256> table{};
    for (std::size_t level = 0; level < table.size(); ++level)
        table[level] = static_cast<std::uint32_t>(std::lround(static_cast<double>(level) * opacity)) << 24;
    return table;
}

}  // namespace

void drawShadow(const platform::PixelBuffer& coverage, double radius, platform::PixelBuffer& target,
                platform::Resampler& resampler) {
    static const auto table = shades();
    platform::PixelBuffer soft(platform::PixelFormat::gray8, coverage.width(), coverage.height());
    resampler.blur(coverage, soft, radius);
    for (int y = 0; y < target.height(); ++y) {
        const std::uint8_t* const levels = soft.row(y);
        std::uint8_t* const pixels = target.row(y);
        for (int x = 0; x < target.width(); ++x) std::memcpy(pixels + 4 * x, &table[levels[x]], 4);
    }
}

}  // namespace cobaltreel

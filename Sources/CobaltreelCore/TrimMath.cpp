#include "CobaltreelCore/TrimMath.hpp"

#include <cmath>

namespace cobaltreel {

OutputSize OutputSize::compute(std::int64_t rawW, std::int64_t rawH,
                               std::optional<std::int64_t> targetHeight) {
    const auto even = [](std::int64_t side) { return side - side % 2; };
    if (!targetHeight || *targetHeight >= rawH) return {even(rawW), even(rawH)};
    const double width =
        static_cast<double>(rawW) * static_cast<double>(*targetHeight) / static_cast<double>(rawH);
    return {even(static_cast<std::int64_t>(std::round(width))), *targetHeight};
}

}  // namespace cobaltreel

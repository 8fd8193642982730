#include "CobaltreelCore/TrimMath.hpp"

#include <algorithm>
#include <cmath>

namespace cobaltreel {

namespace {

std::int64_t even(std::int64_t side) { return side - side % 2; }

}  // namespace

OutputSize OutputSize::compute(std::int64_t rawW, std::int64_t rawH,
                               std::optional<std::int64_t> targetHeight) {
    if (!targetHeight || *targetHeight >= rawH) return {even(rawW), even(rawH)};
    const double width =
        static_cast<double>(rawW) * static_cast<double>(*targetHeight) / static_cast<double>(rawH);
    return {even(static_cast<std::int64_t>(std::round(width))), *targetHeight};
}

OutputSize OutputSize::fitted(std::int64_t rawW, std::int64_t rawH, const OutputSize& box) {
    const double scale = std::min(static_cast<double>(box.w) / static_cast<double>(rawW),
                                  static_cast<double>(box.h) / static_cast<double>(rawH));
    const auto side = [&](std::int64_t raw, std::int64_t most) {
        return std::min(even(std::llround(static_cast<double>(raw) * scale)), even(most));
    };
    return {side(rawW, box.w), side(rawH, box.h)};
}

}  // namespace cobaltreel

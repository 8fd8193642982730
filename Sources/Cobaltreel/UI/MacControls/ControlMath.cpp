#include "Cobaltreel/UI/MacControls/ControlMath.hpp"

#include <algorithm>
#include <cmath>

namespace cobaltreel {
namespace {

/// Leading edge of segment `index` in the space from the first segment to one spacing behind the last.
double leadingEdge(int index, int count, double width) {
    const double inner = width - 2 * ControlMath::segmentPadding + ControlMath::segmentSpacing;
    return ControlMath::segmentPadding + std::round(inner * index / std::max(count, 1));
}

}  // namespace

double ControlMath::unit(double value) { return std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0); }

double ControlMath::fraction(double value, double lowerBound, double upperBound) {
    if (!(upperBound > lowerBound)) return 0;
    return unit((value - lowerBound) / (upperBound - lowerBound));
}

double ControlMath::clamped(double value, double lowerBound, double upperBound) {
    return std::max(lowerBound, std::min(value, upperBound));
}

double ControlMath::sliderValue(double x, double width, double lowerBound, double upperBound, bool mirrored) {
    const double fromLeadingEnd = mirrored ? width - x : x;
    const double share = unit((fromLeadingEnd - knobDiameter / 2) / (width - knobDiameter));
    // At either end the bound itself, free of rounding.
    return share >= 1 ? upperBound : lowerBound + share * (upperBound - lowerBound);
}

double ControlMath::knobX(double fraction, double width, bool mirrored) {
    return (mirrored ? 1 - fraction : fraction) * (width - knobDiameter);
}

int ControlMath::movedIndex(int index, int by, int count) {
    if (count <= 0) return -1;
    if (index < 0) return by > 0 ? 0 : count - 1;
    return std::clamp(index + by, 0, count - 1);
}

double ControlMath::segmentX(int index, int count, double width, bool mirrored) {
    const double leading = leadingEdge(index, count, width);
    return mirrored ? width - leading - segmentWidth(index, count, width) : leading;
}

double ControlMath::segmentWidth(int index, int count, double width) {
    return std::max(0.0,
                    leadingEdge(index + 1, count, width) - segmentSpacing - leadingEdge(index, count, width));
}

}  // namespace cobaltreel

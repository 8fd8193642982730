#include "Cobaltreel/Export/GifSize.hpp"

#include <algorithm>

namespace cobaltreel {

double estimatedGifBytes(const OutputSize& size, int framesPerSecond, double duration,
                         std::span<const CameraMove> moves, bool showsCamera) {
    // Bytes a pixel and picture.
    constexpr double moving = 0.16, resting = 0.004, camera = 0.008;
    double seconds = 0;
    for (const CameraMove& move : moves)
        seconds += std::max(0.0, std::min(move.tEnd, duration) - std::max(move.tStart, 0.0));
    const double pixels = static_cast<double>(size.w) * static_cast<double>(size.h);
    const double each = (moving * seconds + (resting + (showsCamera ? camera : 0)) * duration);
    return pixels * framesPerSecond * each;
}

}  // namespace cobaltreel

#include "Platform/Imaging/View.hpp"

#include <algorithm>
#include <cmath>

namespace platform::imaging {

View View::through(const AxisMap& inner) const {
    const bool keepsPixels = std::abs(inner.sx) == 1 && std::abs(inner.sy) == 1;
    const AxisMap back{1 / inner.sx, 1 / inner.sy, -inner.tx / inner.sx, -inner.ty / inner.sy};
    return {map.after(inner), clip, keepsPixels ? back(limit) : wholePlane()};
}

AxisSampling samplingOf(double scale, double shift, int first, int count, double limitLow, double limitHigh,
                        int size) {
    constexpr double tolerance = 1e-6;
    const auto whole = [size](double v) {
        return static_cast<int>(std::clamp(v, 0.0, static_cast<double>(size)));
    };
    AxisSampling sampling;
    sampling.a = 1 / scale;
    sampling.b = (first - shift) / scale;
    sampling.low = std::min(whole(std::floor(limitLow + tolerance)), size - 1);
    sampling.high = std::max(whole(std::ceil(limitHigh - tolerance)), sampling.low + 1);
    sampling.count = count;
    return sampling;
}

PixelBox shownPixels(const ImageNode& node, const View& view, const PixelBox& rect) {
    if (!view.map.isUsable()) return {};
    return coveredPixels(view.map(node.visible).intersected(view.clip), rect);
}

PlacedBuffer::PlacedBuffer(const PixelBuffer& placed, const View& view) : buffer(placed) {
    const AxisMap upsideDown{1, -1, 0, static_cast<double>(placed.height())};
    map = view.map.after(upsideDown);
    limit = upsideDown(view.limit);
}

AxisSampling PlacedBuffer::alongX(const PixelBox& rect) const {
    return samplingOf(map.sx, map.tx, rect.left, rect.width(), limit.x, limit.maxX(), buffer.width());
}
AxisSampling PlacedBuffer::alongY(const PixelBox& rect) const {
    return samplingOf(map.sy, map.ty, rect.top, rect.height(), limit.y, limit.maxY(), buffer.height());
}
// Chroma samples lie in the middle of their two by two pixels: in units measured from the picture's edge
// they are simply half as many. The output's own chroma, at half resolution, is seen the same way.
AxisSampling PlacedBuffer::chromaAlongX(const PixelBox& rect, int step) const {
    return samplingOf(map.sx * 2 / step, map.tx / step, rect.left / step, (rect.width() + step - 1) / step,
                      limit.x / 2, limit.maxX() / 2, buffer.plane(1).width);
}
AxisSampling PlacedBuffer::chromaAlongY(const PixelBox& rect, int step) const {
    return samplingOf(map.sy * 2 / step, map.ty / step, rect.top / step, (rect.height() + step - 1) / step,
                      limit.y / 2, limit.maxY() / 2, buffer.plane(1).height);
}

}  // namespace platform::imaging

#include "Cobaltreel/UI/MacControls/SoftShadow.hpp"

#include <QPainter>
#include <cmath>
#include <vector>

namespace cobaltreel {
namespace {

/// Running mean over 2 * `reach` + 1 values of a line whose values stand `stride` bytes apart.
void blurLine(uchar* line, int count, qsizetype stride, int reach, std::vector<uchar>& copy) {
    for (int i = 0; i < count; ++i) copy[static_cast<std::size_t>(i)] = line[i * stride];
    const auto at = [&](int i) { return i < 0 || i >= count ? 0 : copy[static_cast<std::size_t>(i)]; };
    const int window = 2 * reach + 1;
    int sum = 0;
    for (int i = -reach; i <= reach; ++i) sum += at(i);
    for (int i = 0; i < count; ++i) {
        line[i * stride] = static_cast<uchar>((sum + reach) / window);
        sum += at(i + reach + 1) - at(i - reach);
    }
}

}  // namespace

QImage SoftShadow::cast(const QImage& picture, double radius, const QColor& color) {
    QImage coverage = picture.convertToFormat(QImage::Format_Alpha8);
    const int width = coverage.width(), height = coverage.height();
    std::vector<uchar> copy(static_cast<std::size_t>(std::max(width, height)));
    // Three running means of this reach come close to a Gaussian: each has the variance reach(reach+1)/3.
    const double sigma = radius / 2;
    const int reach = static_cast<int>(std::lround((std::sqrt(1 + 4 * sigma * sigma) - 1) / 2));
    for (int pass = 0; pass < 3 && reach > 0; ++pass) {
        for (int y = 0; y < height; ++y) blurLine(coverage.scanLine(y), width, 1, reach, copy);
        for (int x = 0; x < width; ++x)
            blurLine(coverage.bits() + x, height, coverage.bytesPerLine(), reach, copy);
    }

    QImage shadow(picture.size(), QImage::Format_ARGB32_Premultiplied);
    shadow.fill(color);
    QPainter painter(&shadow);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    coverage.setDevicePixelRatio(1);
    painter.drawImage(0, 0, coverage);
    painter.end();
    shadow.setDevicePixelRatio(picture.devicePixelRatio());
    return shadow;
}

}  // namespace cobaltreel

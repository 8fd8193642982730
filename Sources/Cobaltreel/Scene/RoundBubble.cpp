#include "Cobaltreel/Scene/RoundBubble.hpp"

#include "Cobaltreel/Scene/Shadow.hpp"
#include "Cobaltreel/Support/Colors.hpp"
#include "Platform/Imaging/Blend.hpp"
#include "Platform/Imaging/Ellipse.hpp"

#include <algorithm>
#include <cstdint>

namespace cobaltreel {
namespace {

using platform::PixelBuffer;
using platform::PixelFormat;
using platform::Rect;

/// The alpha of an ellipse, drawn in white.
void drawCoverage(const Rect& ellipse, PixelBuffer& gray) {
    PixelBuffer drawn(PixelFormat::bgra, gray.width(), gray.height());
    fillEllipse(drawn, ellipse, {1, 1, 1, 1});
    for (int y = 0; y < gray.height(); ++y)
        for (int x = 0; x < gray.width(); ++x) gray.row(y)[x] = drawn.row(y)[4 * x + 3];
}

/// The largest part in the middle of a picture that has the aspect of `shape`.
Rect middleOf(const PixelBuffer& picture, const Rect& shape) {
    const double scale = std::max(shape.w / picture.width(), shape.h / picture.height());
    const double width = shape.w / scale, height = shape.h / scale;
    return {(picture.width() - width) / 2, (picture.height() - height) / 2, width, height};
}

}  // namespace

RoundBubble::Shape RoundBubble::Shape::filling(double width, double height, double ringWidth) {
    const Rect whole{0, 0, width, height};
    return {whole, whole, whole.insetBy(ringWidth / 2), ringWidth};
}

RoundBubble::RoundBubble(int width, int height, const Shape& shape)
    : picture_(shape.picture),
      fixed_(PixelFormat::bgra, width, height),
      bubbleMask_(PixelFormat::gray8, width, height) {
    if (shape.shadowRadius > 0) {
        drawCoverage(shape.circle.translated(0, shadowDrop), bubbleMask_);
        platform::Resampler resampler;
        drawShadow(bubbleMask_, shape.shadowRadius, fixed_, resampler);
    }
    drawCoverage(shape.circle, bubbleMask_);
    PixelBuffer outside(PixelFormat::gray8, width, height), bubbleRing(PixelFormat::bgra, width, height);
    strokeEllipse(bubbleRing, shape.ring, Colors::ring, shape.ringWidth);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::uint8_t& inside = bubbleMask_.row(y)[x];
            outside.row(y)[x] = static_cast<std::uint8_t>(255 - inside);
            inside = static_cast<std::uint8_t>((inside * (255 - bubbleRing.row(y)[4 * x + 3]) + 127) / 255);
        }
    multiplyByMask(fixed_, outside);
    blendOver(bubbleRing, fixed_, 0, 0);
}

void RoundBubble::draw(const PixelBuffer* camera, PixelBuffer& target, platform::Resampler& resampler) const {
    if (camera)
        resampler.draw(*camera, middleOf(*camera, picture_), target, picture_);
    else
        fillBlack(target);
    multiplyByMask(target, bubbleMask_);
    add(fixed_, target);
}

}  // namespace cobaltreel

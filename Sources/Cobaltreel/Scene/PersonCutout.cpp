#include "Cobaltreel/Scene/PersonCutout.hpp"

#include "Cobaltreel/Scene/Shadow.hpp"
#include "Platform/Imaging/Blend.hpp"

#include <algorithm>
#include <cmath>

namespace cobaltreel {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelBufferRef;
using platform::PixelFormat;
using platform::Rect;

// A person is cut out in the camera's own pixels and only then made smaller: a picture and a mask that are
// made smaller apart leave the room's color around the person.

PixelBufferRef PersonCutout::picture(const ConstPixelBufferRef& frame, int maxWidth, int maxHeight) {
    const auto mask = segmenter_.mask(frame);
    if (!mask || maxWidth < 1 || maxHeight < 1) return nullptr;
    const double width = frame->width(), height = frame->height();
    const double scale = std::min({1.0, maxWidth / width, maxHeight / height});
    const auto scaled = [scale](double side) {
        return std::max(1, static_cast<int>(std::lround(side * scale)));
    };
    const auto person = PersonSegmenter::apply(*mask, *frame);
    if (!person) return nullptr;  // the mask of an earlier frame, of another size
    const auto shown = std::make_shared<PixelBuffer>(PixelFormat::bgra, scaled(width), scaled(height));
    resampler_.draw(*person, boundsOf(*person), *shown, boundsOf(*shown));
    return shown;
}

bool PersonCutout::draw(const ConstPixelBufferRef& frame, PixelBuffer& target, const Rect& to,
                        double shadowRadius) {
    const auto mask = segmenter_.mask(frame);
    if (!mask) return false;
    const auto person = PersonSegmenter::apply(*mask, *frame);
    if (!person) return false;
    PixelBuffer silhouette(PixelFormat::gray8, target.width(), target.height());
    resampler_.draw(*mask, boundsOf(*mask), silhouette, to.translated(0, shadowDrop));
    drawShadow(silhouette, shadowRadius, target, resampler_);
    PixelBuffer shown(PixelFormat::bgra, target.width(), target.height());
    resampler_.draw(*person, boundsOf(*person), shown, to);
    blendOver(shown, target, 0, 0);
    return true;
}

}  // namespace cobaltreel

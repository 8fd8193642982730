#include "Platform/Capture/PipeWire/CastShadow.hpp"

#include <algorithm>
#include <cstddef>

#include <spa/param/video/raw.h>

namespace platform::pipewire {

namespace {

/// Shadows are fainter at their darkest, translucent terminals seldom as faint.
constexpr int strongestShadow = 153;
constexpr int darkest = 16;  // color of a shadow, premultiplied
constexpr int rounding = 2;

/// The pixels of a picture in a format whose alpha, if any, is its byte number `alpha`.
class AlphaView {
  public:
    AlphaView(const CastPicture& picture, int alpha) : plane_(picture.plane), alpha_(alpha) {}

    bool isShadow(const PixelRect& area) const {
        return all(area, [](int alpha, int color) { return alpha < strongestShadow && color <= darkest; });
    }
    /// Whether the fourth byte can be the alpha of premultiplied colors; anything else there is less
    /// than some of them.
    bool isAlpha(const PixelRect& area) const {
        return all(area, [](int alpha, int color) { return color <= alpha + rounding; });
    }

  private:
    /// `test` gets a pixel's alpha and its brightest color.
    template <class Test>
    bool all(const PixelRect& area, Test test) const {
        for (int y = area.y; y < area.maxY(); ++y) {
            const std::uint8_t* pixel =
                plane_.data + static_cast<std::ptrdiff_t>(y) * plane_.stride + std::ptrdiff_t{4} * area.x;
            const int first = alpha_ == 0 ? 1 : 0;
            for (int x = 0; x < area.width; ++x, pixel += 4) {
                const int color = std::max({pixel[first], pixel[first + 1], pixel[first + 2]});
                if (!test(pixel[alpha_], color)) return false;
            }
        }
        return true;
    }

    const Plane& plane_;
    int alpha_;
};

std::optional<int> placeOfAlpha(std::uint32_t format) {
    switch (format) {
        case SPA_VIDEO_FORMAT_BGR:
        case SPA_VIDEO_FORMAT_RGB:
            return std::nullopt;
        case SPA_VIDEO_FORMAT_xRGB:
        case SPA_VIDEO_FORMAT_ARGB:
        case SPA_VIDEO_FORMAT_xBGR:
        case SPA_VIDEO_FORMAT_ABGR:
            return 0;
        default:
            return 3;
    }
}

/// What is left when lines of shadow are taken away from every side; empty when nothing is.
PixelRect windowIn(const AlphaView& view, PixelRect rest) {
    while (rest.height > 0 && view.isShadow({rest.x, rest.y, rest.width, 1})) ++rest.y, --rest.height;
    while (rest.height > 0 && view.isShadow({rest.x, rest.maxY() - 1, rest.width, 1})) --rest.height;
    if (rest.height == 0) return {};
    while (view.isShadow({rest.x, rest.y, 1, rest.height})) ++rest.x, --rest.width;
    while (view.isShadow({rest.maxX() - 1, rest.y, 1, rest.height})) --rest.width;
    return rest;
}

/// Whether the lines around a part of the picture are still shadow.
bool isSurrounded(const AlphaView& view, const PixelRect& part, const PixelRect& whole) {
    const PixelRect sides[] = {{part.x, part.y - 1, part.width, 1},
                               {part.x, part.maxY(), part.width, 1},
                               {part.x - 1, part.y, 1, part.height},
                               {part.maxX(), part.y, 1, part.height}};
    return std::ranges::all_of(sides,
                               [&](const PixelRect& side) { return view.isShadow(side.intersected(whole)); });
}

}  // namespace

void CastShadow::cutOff(CastPicture& picture) {
    const auto alpha = placeOfAlpha(picture.format);
    if (!alpha) return;
    const AlphaView view(picture, *alpha);
    const PixelRect all{0, 0, picture.plane.width, picture.plane.height};
    const PixelRect whole{picture.x, picture.y, all.width, all.height};
    if (whole != whole_ || window_.width == 0 || !isSurrounded(view, window_, all)) {
        whole_ = whole;
        window_ = windowIn(view, all);
        if (window_.width > 0 && !view.isAlpha(window_)) window_ = all;
    }
    if (window_.width == 0 || window_ == all) return;
    if (picture.changes) {
        picture.changes = intersected(*picture.changes, window_);
        for (PixelRect& area : *picture.changes) {
            area.x -= window_.x;
            area.y -= window_.y;
        }
    }
    picture.x += window_.x;
    picture.y += window_.y;
    picture.plane = {picture.plane.data + static_cast<std::ptrdiff_t>(window_.y) * picture.plane.stride +
                         std::ptrdiff_t{4} * window_.x,
                     picture.plane.stride, window_.width, window_.height};
}

}  // namespace platform::pipewire

#include "Cobaltreel/Export/FrameComposer.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace cobaltreel {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::Rect;

namespace {

constexpr double rippleDuration = 0.4;  // seconds
// More than anybody clicks in that time; a log may claim any number.
constexpr std::size_t maxRipples = 64;

/// A rectangle of the recorded screen in the pixels of a frame. A frame whose size the codec rounded up to
/// even keeps its picture at the top left; any other difference from the recorded size is a movie scaled
/// elsewhere.
Rect inFrame(const Rect& r, const PixelBuffer& frame, double width, double height) {
    if (std::abs(frame.width() - width) <= 1 && std::abs(frame.height() - height) <= 1) return r;
    const double sx = frame.width() / width, sy = frame.height() / height;
    return {r.x * sx, r.y * sy, r.w * sx, r.h * sy};
}

}  // namespace

FrameComposer::FrameComposer(Plan plan) : plan_(std::move(plan)) {}

SceneLayout FrameComposer::layout() const {
    // No sensible camera is larger than the picture; an absurd document must not cost memory.
    const double largest = std::max(plan_.wOut, plan_.hOut);
    const double height = std::clamp(std::round(plan_.meta.bubbleSizeFraction * plan_.hOut), 0.0, largest);
    return {plan_.wOut, plan_.hOut, plan_.options.cameraStyle, plan_.meta.cameraCorner,
            static_cast<int>(height)};
}

CameraState FrameComposer::zoomState(double t) const {
    const double width = static_cast<double>(plan_.meta.captureWidthPx);
    const double height = static_cast<double>(plan_.meta.captureHeightPx);
    if (!plan_.options.autoZoom) return {1, width * 0.5, height * 0.5};
    return ZoomEngine::evaluate(plan_.zoomMoves, t, width, height);
}

Scene FrameComposer::compose(const ConstPixelBufferRef& screen, const ConstPixelBufferRef& camera,
                             double t) const {
    const double width = static_cast<double>(plan_.meta.captureWidthPx);
    const double height = static_cast<double>(plan_.meta.captureHeightPx);
    const Rect crop = ZoomEngine::cropRect(zoomState(t), width, height);
    const bool drawsCamera = plan_.options.bubble && plan_.meta.cameraEnabled;
    return {screen, inFrame(crop, *screen, width, height), ripplesAt(t, crop),
            drawsCamera ? camera : nullptr};
}

std::vector<Ripple> FrameComposer::ripplesAt(double t, const Rect& crop) const {
    std::vector<Ripple> ripples;
    if (!plan_.options.clickRipples) return ripples;
    for (const Click& click : plan_.preparedClicks) {
        if (click.t > t || t > click.t + rippleDuration) continue;
        ripples.push_back({(click.px - crop.x) * plan_.wOut / crop.w,
                           (click.py - crop.y) * plan_.hOut / crop.h, (t - click.t) / rippleDuration});
    }
    if (ripples.size() > maxRipples) ripples.erase(ripples.begin(), ripples.end() - maxRipples);
    return ripples;
}

}  // namespace cobaltreel

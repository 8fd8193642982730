#include "Cobaltreel/Export/FrameComposer.hpp"

#include "Cobaltreel/Support/Colors.hpp"
#include "Platform/Imaging/Canvas.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace cobaltreel {

using platform::Canvas;
using platform::Color;
using platform::ConstPixelBufferRef;
using platform::Image;
using platform::Rect;

namespace {

constexpr double rippleDuration = 0.4;  // seconds
// More than anybody clicks in that time; a log may claim any number.
constexpr std::size_t maxRipples = 64;
constexpr Color white{1, 1, 1, 1};
constexpr Color black{0, 0, 0, 1};

/// The overlay keeps this share of the output's height from the picture's edges.
constexpr double marginFraction = 0.03;
constexpr double shadowDrop = 4;  // pixels

/// A frame whose size the codec rounded up to even keeps its picture at the top left; any other
/// difference from the recorded size is a movie scaled elsewhere.
Image inCaptureSpace(const ConstPixelBufferRef& frame, double width, double height) {
    const Image image = Image::fromBuffer(frame);
    if (std::abs(frame->width() - width) > 1 || std::abs(frame->height() - height) > 1)
        return image.scaled(width / frame->width(), height / frame->height());
    return image.translated(0, height - frame->height());
}

}  // namespace

FrameComposer::FrameComposer(Plan plan, std::shared_ptr<platform::VisionService> vision)
    : plan_(std::move(plan)), vision_(std::move(vision)) {}

CameraState FrameComposer::zoomState(double t) const {
    const double width = static_cast<double>(plan_.meta.captureWidthPx);
    const double height = static_cast<double>(plan_.meta.captureHeightPx);
    if (!plan_.options.autoZoom) return {1, width * 0.5, height * 0.5};
    return ZoomEngine::evaluate(plan_.zoomMoves, t, width, height);
}

Image FrameComposer::compose(const ConstPixelBufferRef& screen, const ConstPixelBufferRef& camera, double t) {
    const CameraState state = zoomState(t);
    const bool drawsCamera = plan_.options.bubble && plan_.meta.cameraEnabled && camera;
    const ConstPixelBufferRef shownCamera = drawsCamera ? camera : nullptr;
    const auto ripples = plan_.options.clickRipples ? ripplesAt(t, state) : std::vector<RipplePoint>{};

    if (ripples.empty() && shown_ && shown_->screen == screen && shown_->camera == shownCamera &&
        shown_->state == state)
        return shown_->image;

    Image frame = screenLayer(screen, state);
    if (const auto rings = rippleOverlay(ripples, plan_.wOut, plan_.hOut))
        frame = rings->compositedOver(frame);
    if (drawsCamera) {
        frame = plan_.options.cameraStyle == CameraStyle::cutout
                    ? composeCutout(camera, frame, plan_.wOut, plan_.hOut)
                    : composeBubble(camera, frame, plan_.wOut, plan_.hOut);
    }
    if (ripples.empty())
        shown_ = Shown{screen, shownCamera, state, frame};
    else
        shown_.reset();
    return frame;
}

Image FrameComposer::screenLayer(const ConstPixelBufferRef& screen, const CameraState& state) const {
    const double width = static_cast<double>(plan_.meta.captureWidthPx);
    const double height = static_cast<double>(plan_.meta.captureHeightPx);
    const auto crop = ZoomEngine::cropRect(state, width, height);
    const double yB = height - (crop.y + crop.h);
    const Rect output{0, 0, static_cast<double>(plan_.wOut), static_cast<double>(plan_.hOut)};
    return inCaptureSpace(screen, width, height)
        .cropped({crop.x, yB, crop.w, crop.h})
        .translated(-crop.x, -yB)
        .scaled(output.w / crop.w, output.h / crop.h)
        .cropped(output);
}

std::vector<FrameComposer::RipplePoint> FrameComposer::ripplesAt(double t, const CameraState& state) const {
    const auto crop = ZoomEngine::cropRect(state, static_cast<double>(plan_.meta.captureWidthPx),
                                           static_cast<double>(plan_.meta.captureHeightPx));
    std::vector<RipplePoint> points;
    for (const Click& click : plan_.preparedClicks) {
        if (click.t > t || t > click.t + rippleDuration) continue;
        points.push_back({(click.px - crop.x) * plan_.wOut / crop.w,
                          plan_.hOut - (click.py - crop.y) * plan_.hOut / crop.h,
                          (t - click.t) / rippleDuration});
    }
    if (points.size() > maxRipples) points.erase(points.begin(), points.end() - maxRipples);
    return points;
}

std::optional<Image> FrameComposer::rippleOverlay(std::span<const RipplePoint> points, int wOut, int hOut) {
    if (points.empty()) return std::nullopt;
    Canvas canvas(wOut, hOut);
    for (const RipplePoint& point : points) {
        // From 12 to 60 pixels at 1080 lines of output.
        const double r = (point.p * 48 + 12) * hOut / 1080;
        const Rect circle{point.x - r, point.y - r, 2 * r, 2 * r};
        canvas.fillEllipse(circle, Colors::highlight.withAlpha((1 - point.p) * 0.35));
        canvas.strokeEllipse(circle, white.withAlpha((1 - point.p) * 0.8), 3);
    }
    return canvas.image();
}

int FrameComposer::overlayHeight() const {
    // No sensible overlay is larger than the picture; an absurd document must not cost memory.
    const double largest = std::max(plan_.wOut, plan_.hOut);
    return static_cast<int>(std::clamp(std::round(plan_.meta.bubbleSizeFraction * plan_.hOut), 0.0, largest));
}

void FrameComposer::makeBubbleStatics(int diameter) {
    if (diameter < 5) return;
    const Rect circle = Rect{0, 0, static_cast<double>(diameter), static_cast<double>(diameter)}.insetBy(2);

    Canvas mask(diameter, diameter);
    mask.fillEllipse(circle, white);
    bubbleMask_ = mask.image().memoized();

    Canvas ring(diameter, diameter);
    ring.strokeEllipse(circle, Colors::ring, 3);
    bubbleRing_ = ring.image().memoized();

    Canvas shadow(diameter, diameter);
    shadow.fillEllipse(circle, black.withAlpha(0.35));
    if (const auto blurred = shadow.image().gaussianBlurred(12)) bubbleShadow_ = blurred->memoized();
}

FrameComposer::Corner FrameComposer::overlayOrigin(double width, double height, int wOut, int hOut) const {
    const double margin = hOut * marginFraction;
    const double right = wOut - width - margin;
    const double top = hOut - height - margin;
    switch (plan_.meta.cameraCorner) {
        case CameraCorner::bottomLeft:
            return {margin, margin};
        case CameraCorner::bottomRight:
            return {right, margin};
        case CameraCorner::topLeft:
            return {margin, top};
        case CameraCorner::topRight:
            return {right, top};
    }
    return {margin, margin};
}

Image FrameComposer::composeBubble(const ConstPixelBufferRef& camBuf, const Image& over, int wOut,
                                   int hOut) const {
    if (!bubbleMask_ || !bubbleRing_) return over;
    const double diameter = bubbleMask_->extent().w;
    const double side = std::min(camBuf->width(), camBuf->height());
    const Rect square{(camBuf->width() - side) / 2, (camBuf->height() - side) / 2, side, side};
    const Image camera = Image::fromBuffer(camBuf)
                             .cropped(square)
                             .translated(-square.x, -square.y)
                             .scaled(diameter / side, diameter / side);

    auto masked = camera.blendedWithMask(*bubbleMask_);
    if (!masked) return over;
    if (bubbleShadow_) masked = masked->compositedOver(bubbleShadow_->translated(0, -shadowDrop));
    const Image stack = bubbleRing_->compositedOver(*masked);
    const Corner origin = overlayOrigin(diameter, diameter, wOut, hOut);
    return stack.translated(origin.x, origin.y).compositedOver(over);
}

PersonSegmenter& FrameComposer::segmenter() {
    if (!segmenter_) segmenter_.emplace(PersonSegmenter::Quality::accurate, vision_);
    return *segmenter_;
}

Image FrameComposer::composeCutout(const ConstPixelBufferRef& camBuf, const Image& over, int wOut, int hOut) {
    // A camera frame that stays on screen for several output frames is segmented once.
    if (!vision_) return composeBubble(camBuf, over, wOut, hOut);
    const bool isNewFrame = camBuf != maskedCamera_;
    const auto mask = isNewFrame ? segmenter().mask(camBuf) : segmenter().lastMask();
    maskedCamera_ = camBuf;
    if (!mask) return composeBubble(camBuf, over, wOut, hOut);

    const double cameraHeight = camBuf->height();
    const double targetHeight = overlayHeight();
    if (cameraHeight <= 0 || targetHeight <= 4) return over;
    const auto person = PersonSegmenter::apply(*mask, Image::fromBuffer(camBuf));
    if (!person) return over;

    const double k = targetHeight / cameraHeight;
    const Rect box{0, 0, camBuf->width() * k, targetHeight};
    // Cut out in the camera's own pixels and only then made smaller: a picture and a mask that are made
    // smaller apart leave the room's color around the person.
    Image personK = person->memoized().scaled(k, k).cropped(box);

    const auto silhouette = PersonSegmenter::apply(mask->scaled(k, k).cropped(box),
                                                   Image::constant(black.withAlpha(0.35)).cropped(box));
    if (silhouette) {
        if (const auto shadow = silhouette->gaussianBlurred(10))
            personK = personK.compositedOver(shadow->translated(0, -shadowDrop));
    }
    const Corner origin = overlayOrigin(box.w, box.h, wOut, hOut);
    return personK.translated(origin.x, origin.y).compositedOver(over);
}

}  // namespace cobaltreel

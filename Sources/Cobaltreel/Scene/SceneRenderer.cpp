#include "Cobaltreel/Scene/SceneRenderer.hpp"

#include "Cobaltreel/Scene/Shadow.hpp"
#include "Cobaltreel/Support/Colors.hpp"
#include "Platform/Imaging/Blend.hpp"
#include "Platform/Imaging/Ellipse.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cobaltreel {
namespace {

using platform::ConstPixelBufferRef;
using platform::PixelBuffer;
using platform::PixelFormat;
using platform::PixelRect;
using platform::Rect;

constexpr platform::Color white{1, 1, 1, 1};
/// The camera keeps this share of the output's height from the picture's edges.
constexpr double marginFraction = 0.03;
/// Smaller ones, in output pixels, are not drawn.
constexpr int minCameraHeight = 5;
/// Widths of lines and standard deviations of shadows, in output pixels.
constexpr double lineWidth = 3, bubbleInset = 2, bubbleShadow = 12, cutoutShadow = 10;

/// The whole pixels that `area` touches, with even edges so that they own their chroma samples.
PixelRect pixelsAround(const Rect& area, int width, int height) {
    const auto edge = [](double v, int limit) {
        return v > 0 ? static_cast<int>(std::min(v, static_cast<double>(limit))) : 0;
    };
    const int left = edge(std::floor(area.x), width) & ~1, top = edge(std::floor(area.y), height) & ~1;
    const int right = std::min((edge(std::ceil(area.maxX()), width) + 1) & ~1, width);
    const int bottom = std::min((edge(std::ceil(area.maxY()), height) + 1) & ~1, height);
    return {left, top, right - left, bottom - top};
}

}  // namespace

SceneRenderer::SceneRenderer(const SceneLayout& layout, std::shared_ptr<platform::VisionService> vision)
    : layout_(layout) {
    if (vision && layout.cameraStyle == CameraStyle::cutout)
        cutout_.emplace(PersonSegmenter::Quality::accurate, std::move(vision));
}

void SceneRenderer::render(const Scene& scene, PixelBuffer& target) {
    if (!resampler_.draw(*scene.screen, scene.visible, target, boundsOf(target))) fillBlack(target);
    for (const Ripple& ripple : scene.ripples) rippleOverlay(ripple, target);
    if (!scene.camera || layout_.cameraHeight < minCameraHeight) return;
    // A camera frame stays on screen for several output frames, and is drawn once.
    if (scene.camera != camera_) {
        camera_ = scene.camera;
        if (!composeCutout()) composeBubble();
    }
    if (overlay_) blendOver(*overlay_, target, place_.x, place_.y);
}

void SceneRenderer::rippleOverlay(const Ripple& ripple, PixelBuffer& over) const {
    // From 12 to 60 pixels at 1080 lines of output.
    const double r = (ripple.progress * 48 + 12) * layout_.height / 1080;
    const Rect circle{ripple.x - r, ripple.y - r, 2 * r, 2 * r};
    const PixelRect area = pixelsAround(circle.insetBy(-lineWidth), layout_.width, layout_.height);
    if (area.isEmpty()) return;
    PixelBuffer drawn(PixelFormat::bgra, area.width, area.height);
    const Rect placed = circle.translated(-area.x, -area.y);
    fillEllipse(drawn, placed, Colors::highlight.withAlpha((1 - ripple.progress) * 0.35));
    strokeEllipse(drawn, placed, white.withAlpha((1 - ripple.progress) * 0.8), lineWidth);
    blendOver(drawn, over, area.x, area.y);
}

bool SceneRenderer::placeOverlay(double width, double height, double shadowRadius) {
    const double margin = layout_.height * marginFraction;
    const double right = layout_.width - width - margin, low = layout_.height - height - margin;
    const bool isLeft =
        layout_.cameraCorner == CameraCorner::bottomLeft || layout_.cameraCorner == CameraCorner::topLeft;
    const bool isTop =
        layout_.cameraCorner == CameraCorner::topLeft || layout_.cameraCorner == CameraCorner::topRight;
    const Rect shape{isLeft ? margin : right, isTop ? margin : low, width, height};
    const double reach = 3 * shadowRadius + shadowDrop;
    place_ = pixelsAround(shape.insetBy(-reach), layout_.width, layout_.height);
    shape_ = shape.translated(-place_.x, -place_.y);
    if (place_.isEmpty())
        overlay_.reset();
    else if (!overlay_ || overlay_->width() != place_.width || overlay_->height() != place_.height)
        overlay_.emplace(PixelFormat::bgra, place_.width, place_.height);
    return overlay_.has_value();
}

void SceneRenderer::composeBubble() {
    if (!placeOverlay(layout_.cameraHeight, layout_.cameraHeight, bubbleShadow)) return;
    if (!bubble_) makeBubbleStatics();
    bubble_->draw(camera_.get(), *overlay_, resampler_);
}

void SceneRenderer::makeBubbleStatics() {
    const Rect circle = shape_.insetBy(bubbleInset);
    bubble_.emplace(place_.width, place_.height,
                    RoundBubble::Shape{shape_, circle, circle, lineWidth, bubbleShadow});
}

bool SceneRenderer::composeCutout() {
    if (!cutout_) return false;
    const double scale = static_cast<double>(layout_.cameraHeight) / camera_->height();
    if (!placeOverlay(camera_->width() * scale, layout_.cameraHeight, cutoutShadow)) return true;
    return cutout_->draw(camera_, *overlay_, shape_, cutoutShadow);
}

}  // namespace cobaltreel

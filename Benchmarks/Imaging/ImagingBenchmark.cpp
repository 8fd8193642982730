#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/RenderContext.hpp"

#include <cstdint>

#include <benchmark/benchmark.h>

// What one frame of an export costs, step by step, on one core.

namespace {

using namespace platform;

/// Noise over gradients: neither the cache nor a branch can profit from flat areas.
PixelBufferRef makePicture(PixelFormat format, int width, int height) {
    auto buffer = std::make_shared<PixelBuffer>(format, width, height);
    std::uint32_t state = 1;
    for (int i = 0; i < buffer->planeCount(); ++i) {
        const Plane& plane = buffer->plane(i);
        const int bytes = plane.width * (format == PixelFormat::bgra ? 4 : 1);
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < bytes; ++x) {
                state = state * 1664525 + 1013904223;
                const bool alpha = format == PixelFormat::bgra && x % 4 == 3;
                plane.data[y * plane.stride + x] =
                    alpha ? 255
                          : static_cast<std::uint8_t>((x / 8 + y / 8 + static_cast<int>(state >> 28)) & 255);
            }
    }
    return buffer;
}

Image zoomed(const Image& screen, const Rect& crop, int width, int height) {
    return screen.cropped(crop)
        .translated(-crop.x, -crop.y)
        .scaled(width / crop.w, height / crop.h)
        .cropped({0, 0, static_cast<double>(width), static_cast<double>(height)});
}

/// A part of a 1920 × 1080 frame, from the given corner, to a whole target.
void resampleScreen(benchmark::State& state, PixelFormat targetFormat, double cropWidth, int width,
                    int height, bool moving) {
    const Image screen = Image::fromBuffer(makePicture(PixelFormat::i420, 1920, 1080));
    PixelBuffer target(targetFormat, width, height);
    RenderContext context;
    double creep = 0;
    for (auto _ : state) {
        const double w = cropWidth - creep;
        context.render(zoomed(screen, {creep, creep, w, w * 9 / 16}, width, height), target,
                       {0, 0, static_cast<double>(width), static_cast<double>(height)});
        if (moving) creep = creep > 90 ? 0.1 : creep + 0.1;
        benchmark::ClobberMemory();
    }
}

BENCHMARK_CAPTURE(resampleScreen, copy1080, PixelFormat::i420, 1920, 1920, 1080, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resampleScreen, quarterTo1080, PixelFormat::i420, 960, 1920, 1080, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resampleScreen, creepingTo1080, PixelFormat::i420, 1200, 1920, 1080, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resampleScreen, wholeTo720, PixelFormat::i420, 1920, 1280, 720, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resampleScreen, wholeToBgra720, PixelFormat::bgra, 1920, 1280, 720, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resampleScreen, wholeToBgra1080, PixelFormat::bgra, 1920, 1920, 1080, false)
    ->Unit(benchmark::kMillisecond);

struct BubbleParts {
    Image mask;
    Image ring;
    Image shadow;
};

BubbleParts makeBubble(int diameter) {
    const Rect circle{2, 2, diameter - 4.0, diameter - 4.0};
    Canvas mask(diameter, diameter), ring(diameter, diameter), shadow(diameter, diameter);
    mask.fillEllipse(circle, {1, 1, 1, 1});
    ring.strokeEllipse(circle, {0.83, 0.63, 0.09, 0.9}, 3);
    shadow.fillEllipse(circle, {0, 0, 0, 0.35});
    return {mask.image().memoized(), ring.image().memoized(), shadow.image().gaussianBlurred(12)->memoized()};
}

Image bubbleOver(const Image& camera, const BubbleParts& parts, int diameter, const Image& below) {
    const double scale = diameter / 720.0;
    const Image face = camera.cropped({280, 0, 720, 720}).translated(-280, 0).scaled(scale, scale);
    return parts.ring
        .compositedOver(face.blendedWithMask(parts.mask)->compositedOver(parts.shadow.translated(0, -4)))
        .translated(1920 - diameter - 32.4, 32.4)
        .compositedOver(below);
}

Image cutoutOver(const Image& camera, const Image& mask, const Image& below) {
    const double scale = 270.0 / 720;
    const Rect box{0, 0, 480, 270};
    const Image person = camera.blendedWithMask(mask)->scaled(scale, scale).cropped(box);
    const Image silhouette = *Image::constant({0, 0, 0, 0.35})
                                  .cropped(box)
                                  .blendedWithMask(mask.scaled(scale, scale).cropped(box));
    return person.compositedOver(silhouette.gaussianBlurred(10)->translated(0, -4))
        .translated(1920 - 480 - 32.4, 32.4)
        .compositedOver(below);
}

Image rippleOver(const Image& below) {
    Canvas canvas(1920, 1080);
    const Rect square{900.3, 500.7, 120, 120};
    canvas.fillEllipse(square, {0.83, 0.63, 0.09, 0.2});
    canvas.strokeEllipse(square, {1, 1, 1, 0.4}, 3);
    return canvas.image().compositedOver(below);
}

enum class Overlay { none, ripple, bubble, cutout };

/// One whole frame of an export: a zoomed screen with its overlay, into i420.
void composeFrame(benchmark::State& state, Overlay overlay) {
    const Image screen = Image::fromBuffer(makePicture(PixelFormat::i420, 1920, 1080));
    const Image camera = Image::fromBuffer(makePicture(PixelFormat::i420, 1280, 720));
    const BubbleParts parts = makeBubble(270);
    const ConstPixelBufferRef maskPixels = makePicture(PixelFormat::gray8, 512, 384);
    PixelBuffer target(PixelFormat::i420, 1920, 1080);
    RenderContext context;
    for (auto _ : state) {
        Image frame = zoomed(screen, {100.3, 50.7, 1200, 675}, 1920, 1080);
        if (overlay == Overlay::ripple) frame = rippleOver(frame);
        if (overlay == Overlay::bubble) frame = bubbleOver(camera, parts, 270, frame);
        if (overlay == Overlay::cutout) {
            const Image mask = Image::fromBuffer(maskPixels)
                                   .scaled(2.5, 1.875)
                                   .gaussianBlurred(1.5)
                                   ->cropped({0, 0, 1280, 720});
            frame = cutoutOver(camera, mask, frame);
        }
        context.render(frame, target, {0, 0, 1920, 1080});
        benchmark::ClobberMemory();
    }
}

BENCHMARK_CAPTURE(composeFrame, screenOnly, Overlay::none)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(composeFrame, ripple, Overlay::ripple)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(composeFrame, bubble, Overlay::bubble)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(composeFrame, cutout, Overlay::cutout)->Unit(benchmark::kMillisecond);

void convert1080(benchmark::State& state, PixelFormat fromFormat, PixelFormat toFormat) {
    const auto from = makePicture(fromFormat, 1920, 1080);
    PixelBuffer to(toFormat, 1920, 1080);
    for (auto _ : state) {
        convertPixels(*from, to);
        benchmark::ClobberMemory();
    }
}

BENCHMARK_CAPTURE(convert1080, bgraToI420, PixelFormat::bgra, PixelFormat::i420)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert1080, i420ToBgra, PixelFormat::i420, PixelFormat::bgra)
    ->Unit(benchmark::kMillisecond);

}  // namespace

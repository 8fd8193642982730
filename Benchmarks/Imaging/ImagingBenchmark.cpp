#include "Cobaltreel/Scene/SceneRenderer.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

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

/// A part of a 1920 × 1080 frame, from the given corner, to a whole target.
void resampleScreen(benchmark::State& state, PixelFormat targetFormat, double cropWidth, int width,
                    int height, bool moving) {
    const auto screen = makePicture(PixelFormat::i420, 1920, 1080);
    PixelBuffer target(targetFormat, width, height);
    Resampler resampler;
    double creep = 0;
    for (auto _ : state) {
        const double w = cropWidth - creep;
        resampler.draw(*screen, {creep, creep, w, w * 9 / 16}, target, boundsOf(target));
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

/// Finds the same person in every frame.
class FoundPerson final : public VisionService, public PersonSegmentationRequest {
  public:
    std::unique_ptr<PersonSegmentationRequest> makePersonSegmentationRequest(QualityLevel) override {
        return std::make_unique<FoundPerson>();
    }
    std::optional<PlatformError> unavailable() override { return std::nullopt; }
    std::string implementation() const override { return "found"; }
    std::vector<ConstPixelBufferRef> perform(const PixelBuffer&) override { return {mask_}; }

  private:
    ConstPixelBufferRef mask_ = makePicture(PixelFormat::gray8, 512, 384);
};

enum class Overlay { none, ripple, bubble, cutout };

/// One whole frame of an export: a zoomed screen with its overlay, into i420.
void composeFrame(benchmark::State& state, Overlay overlay) {
    using namespace cobaltreel;
    Scene scene{makePicture(PixelFormat::i420, 1920, 1080), {100.3, 354.3, 1200, 675}, {}, nullptr};
    if (overlay == Overlay::ripple) scene.ripples = {{960.3, 519.3, 1}};
    // A camera frame that is still shown is not drawn again.
    const ConstPixelBufferRef cameras[] = {makePicture(PixelFormat::i420, 1280, 720),
                                           makePicture(PixelFormat::i420, 1280, 720)};
    const auto style = overlay == Overlay::cutout ? CameraStyle::cutout : CameraStyle::bubble;
    SceneRenderer renderer({1920, 1080, style, CameraCorner::bottomRight, 270},
                           std::make_shared<FoundPerson>());
    PixelBuffer target(PixelFormat::i420, 1920, 1080);
    std::size_t frame = 0;
    for (auto _ : state) {
        if (overlay == Overlay::bubble || overlay == Overlay::cutout) scene.camera = cameras[frame++ % 2];
        renderer.render(scene, target);
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

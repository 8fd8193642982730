#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

// This program's own operator new, to see what a frame allocates.

namespace {

std::atomic<std::size_t> largestAllocation = 0;

void* allocate(std::size_t size) {
    std::size_t seen = largestAllocation;
    while (size > seen && !largestAllocation.compare_exchange_weak(seen, size)) {
    }
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace platform::test {
namespace {

TEST(RenderContextMemory, framesLikeTheFirstAllocateNothingOfTheirSize) {
    const Image screen = Image::fromBuffer(noise(PixelFormat::i420, 640, 360));
    const Image camera = Image::fromBuffer(noise(PixelFormat::i420, 320, 180));
    const Image mask = Image::fromBuffer(noise(PixelFormat::gray8, 160, 120)).scaled(2, 1.5);
    PixelBuffer target(PixelFormat::i420, 640, 360);
    RenderContext context;
    const auto renderFrame = [&](int frame) {
        const Rect crop{frame * 0.3, frame * 0.2, 400.0 - frame, 225 - frame * 0.5};
        Canvas ripple(640, 360);
        ripple.fillEllipse({100.0 + frame, 80, 60, 60}, {1, 1, 0, 0.5});
        const Image silhouette = *Image::constant({0, 0, 0, 0.4})
                                      .cropped({0, 0, 320, 180})
                                      .blendedWithMask(mask)
                                      ->gaussianBlurred(10);
        const Image person = *camera.blendedWithMask(*mask.gaussianBlurred(1.5));
        const Image frameImage = person.compositedOver(silhouette.translated(0, -4))
                                     .translated(250.4, 30.6)
                                     .compositedOver(ripple.image())
                                     .compositedOver(screen.cropped(crop)
                                                         .translated(-crop.x, -crop.y)
                                                         .scaled(640 / crop.w, 360 / crop.h)
                                                         .cropped({0, 0, 640, 360}));
        context.render(frameImage, target, {0, 0, 640, 360});
    };
    for (int frame = 0; frame < 3; ++frame) renderFrame(frame);
    largestAllocation = 0;
    for (int frame = 3; frame < 20; ++frame) renderFrame(frame);
    // The weights of a moving zoom, a few numbers for each row and column, are made anew.
    EXPECT_LT(largestAllocation, 20000U);
    EXPECT_GT(largestAllocation, 0U);
}

}  // namespace
}  // namespace platform::test

#include "Platform/Imaging/PictureSupport.hpp"

#include <limits>
#include <thread>

#include <gtest/gtest.h>

namespace platform::test {
namespace {

PixelBufferRef bitmap(const Image& image, int width, int height) {
    return RenderContext().makeBitmap(image, width, height);
}

TEST(Composition, theOriginIsAtTheBottomLeft) {
    // Each pixel tells its place in memory.
    const auto source = bgraPicture(4, 3, [](int x, int y) { return Pixel{x, y, 0, 255}; });
    const Image image = Image::fromBuffer(source);

    const auto cropped = bitmap(image.cropped({0, 0, 1, 1}), 4, 3);
    EXPECT_EQ(pixelAt(*cropped, 0, 2), (Pixel{0, 2, 0, 255})) << "plane (0, 0) is the last row";
    EXPECT_EQ(pixelAt(*cropped, 0, 1), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(pixelAt(*cropped, 1, 2), (Pixel{0, 0, 0, 0}));

    const auto raised = bitmap(image.translated(1, 2), 6, 6);
    EXPECT_EQ(pixelAt(*raised, 1, 1), (Pixel{0, 0, 0, 255})) << "up is towards row 0";
    EXPECT_EQ(pixelAt(*raised, 4, 3), (Pixel{3, 2, 0, 255}));
    EXPECT_EQ(pixelAt(*raised, 1, 4), (Pixel{0, 0, 0, 0}));

    PixelBuffer window(PixelFormat::bgra, 2, 2);
    RenderContext().render(image, window, {1, 1, 2, 2});
    EXPECT_EQ(pixelAt(window, 0, 0), (Pixel{1, 0, 0, 255}));
    EXPECT_EQ(pixelAt(window, 1, 1), (Pixel{2, 1, 0, 255}));
}

TEST(Composition, sourceOverInsideAndOutsideTheExtents) {
    const Image below = Image::fromBuffer(flatPicture(3, 1, {200, 100, 40, 255}));
    const Image half = Image::fromBuffer(flatPicture(2, 1, {0, 50, 128, 128})).translated(1, 0);
    const auto result = bitmap(half.compositedOver(below).compositedOver(Image()), 4, 1);
    EXPECT_EQ(pixelAt(*result, 0, 0), (Pixel{200, 100, 40, 255}));
    EXPECT_EQ(pixelAt(*result, 1, 0), (Pixel{100, 100, 148, 255}));
    EXPECT_EQ(pixelAt(*result, 2, 0), (Pixel{100, 100, 148, 255}));
    EXPECT_EQ(pixelAt(*result, 3, 0), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(half.compositedOver(below).extent(), (Rect{0, 0, 3, 1}));

    // One half over another leaves a quarter open, wherever the stack is cut.
    const auto stacked = bitmap(half.compositedOver(half).translated(-1, 0).cropped({0, 0, 1, 1}), 2, 1);
    EXPECT_EQ(pixelAt(*stacked, 0, 0), (Pixel{0, 75, 192, 192}));
    EXPECT_EQ(pixelAt(*stacked, 1, 0), (Pixel{0, 0, 0, 0}));
}

TEST(Composition, constantsArePremultipliedAndEndless) {
    const Image color = Image::constant({1, 0.5, 0, 0.5});
    EXPECT_FALSE(color.isEmpty());
    EXPECT_FALSE(color.gaussianBlurred(3));
    const auto result = bitmap(color.translated(1e6, -5).scaled(0.001, 7).cropped({1, 0, 1, 1}), 3, 1);
    EXPECT_EQ(pixelAt(*result, 0, 0), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(pixelAt(*result, 1, 0), (Pixel{0, 64, 128, 128}));
    EXPECT_EQ(pixelAt(*result, 2, 0), (Pixel{0, 0, 0, 0}));
    PixelBuffer far(PixelFormat::bgra, 1, 1);
    RenderContext().render(color, far, {-1e12, 1e12, 1, 1});
    EXPECT_EQ(pixelAt(far, 0, 0), (Pixel{0, 64, 128, 128}));
}

TEST(Composition, masksMultiplyByTheirGreen) {
    const Image picture = Image::fromBuffer(flatPicture(4, 1, {250, 100, 3, 255}));
    const std::array<int, 4> levels{0, 1, 128, 255};
    const auto gray = grayPicture(4, 1, [&](int x, int) { return levels[static_cast<std::size_t>(x)]; });
    const auto green = bgraPicture(4, 1, [&](int x, int) {
        return Pixel{9, levels[static_cast<std::size_t>(x)], 77, 255};
    });
    for (const auto& mask : {gray, green}) {
        const auto result = bitmap(*picture.blendedWithMask(Image::fromBuffer(mask)), 4, 1);
        EXPECT_EQ(pixelAt(*result, 0, 0), (Pixel{0, 0, 0, 0}));
        EXPECT_EQ(pixelAt(*result, 1, 0), (Pixel{1, 0, 0, 1}));
        EXPECT_EQ(pixelAt(*result, 2, 0), (Pixel{125, 50, 2, 128}));
        EXPECT_EQ(pixelAt(*result, 3, 0), (Pixel{250, 100, 3, 255}));
    }
    // Where the mask ends it is transparent.
    const auto shifted = bitmap(*picture.blendedWithMask(Image::fromBuffer(gray).translated(-2, 0)), 4, 1);
    EXPECT_EQ(pixelAt(*shifted, 1, 0), (Pixel{250, 100, 3, 255}));
    EXPECT_EQ(pixelAt(*shifted, 2, 0), (Pixel{0, 0, 0, 0}));
    EXPECT_FALSE(picture.blendedWithMask(Image::fromBuffer(gray).translated(4, 0)));
}

TEST(Composition, aMaskedConstantIsItsColorTimesTheMask) {
    const auto gray = grayPicture(20, 20, [](int x, int y) { return x > 4 && y > 6 ? 200 : 0; });
    const Image mask = Image::fromBuffer(gray);
    const Rect box{2, 0, 15, 18};
    const Image color = Image::constant({0.2, 0.4, 0.8, 0.5}).cropped(box);
    const Image silhouette = *color.blendedWithMask(mask);
    // The same picture with pixels behind the constant takes the general path.
    const auto pixels = flatPicture(20, 20, {102, 51, 26, 128});
    const Image general = *Image::fromBuffer(pixels).cropped(box).blendedWithMask(mask);
    EXPECT_LE(largestDifference(*bitmap(silhouette, 20, 20), *bitmap(general, 20, 20)), 1);
    EXPECT_LE(largestDifference(*bitmap(*silhouette.gaussianBlurred(2), 20, 20),
                                *bitmap(*general.gaussianBlurred(2), 20, 20)),
              1);
}

TEST(Composition, memoizedPicturesAreTheSamePixels) {
    const auto source = noise(PixelFormat::bgra, 31, 22, 5);
    const Image image = Image::fromBuffer(source).scaled(1.37, 0.81).translated(3.4, -2.6);
    const Image kept = image.memoized();
    EXPECT_EQ(kept.extent(), image.extent());
    EXPECT_TRUE(kept.memoized().isSameRecipe(kept));
    EXPECT_EQ(largestDifference(*bitmap(image, 50, 20), *bitmap(kept, 50, 20)), 0);
    EXPECT_EQ(
        largestDifference(*bitmap(image.translated(2, 5), 50, 20), *bitmap(kept.translated(2, 5), 50, 20)),
        0);

    const auto gray = noise(PixelFormat::gray8, 9, 7);
    const Image mask = *Image::fromBuffer(gray).scaled(4, 3).gaussianBlurred(1.5);
    EXPECT_EQ(largestDifference(*bitmap(*image.blendedWithMask(mask), 50, 20),
                                *bitmap(*image.blendedWithMask(mask.memoized()), 50, 20)),
              0);
    const Image endless = Image::constant({1, 1, 1, 1});
    EXPECT_EQ(pixelAt(*bitmap(endless.memoized(), 1, 1), 0, 0), (Pixel{255, 255, 255, 255}));
}

TEST(Composition, memoizedPicturesAreComputedOnceForAllThreads) {
    auto source = flatPicture(40, 40, {10, 20, 30, 255});
    const Image kept = Image::fromBuffer(source).memoized();
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            right += pixelAt(*bitmap(kept, 40, 40), 39, 39) == Pixel{10, 20, 30, 255};
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(right, 4);
    // What changes below later is not seen any more.
    *sampleAt(*source, 39, 39) = 99;
    EXPECT_EQ(pixelAt(*bitmap(kept, 40, 40), 39, 39), (Pixel{10, 20, 30, 255}));
}

TEST(Composition, degenerateRecipesAreEmptyAndHarmless) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Image picture = Image::fromBuffer(noise(PixelFormat::i420, 5, 3));
    const Image empties[] = {Image(),
                             Image::fromBuffer(nullptr),
                             picture.scaled(0, 1),
                             picture.scaled(nan, 1),
                             picture.translated(infinity, 0),
                             picture.cropped({nan, 0, 5, 5}),
                             picture.cropped({0, 0, -5, 5}),
                             picture.cropped({9, 9, 5, 5}),
                             picture.cropped({0, 0, nan, 1})};
    for (const Image& empty : empties) {
        EXPECT_TRUE(empty.isEmpty());
        EXPECT_FALSE(empty.gaussianBlurred(2));
        EXPECT_FALSE(picture.blendedWithMask(empty));
        EXPECT_EQ(pixelAt(*bitmap(empty.memoized().translated(1, 1).scaled(3, 3), 2, 2), 1, 1),
                  (Pixel{0, 0, 0, 0}));
        EXPECT_TRUE(empty.compositedOver(picture).isSameRecipe(picture));
        EXPECT_TRUE(picture.compositedOver(empty).isSameRecipe(picture));
    }
    EXPECT_FALSE(picture.gaussianBlurred(nan));
    EXPECT_FALSE(picture.gaussianBlurred(-1));
    EXPECT_EQ(picture.cropped({-infinity, -infinity, infinity, infinity}).extent(), picture.extent());

    for (const PixelFormat format : {PixelFormat::bgra, PixelFormat::i420, PixelFormat::gray8}) {
        for (const auto& [width, height] : {std::pair{1, 1}, {3, 1}, {1, 5}, {7, 7}}) {
            PixelBuffer target(format, width, height);
            for (const Rect& bounds : {Rect{nan, 0, 1, 1}, Rect{infinity, 0, 1, 1}, Rect{1e300, -1e300, 1, 1},
                                       Rect{-2, -3, 1, 1}, Rect{}})
                RenderContext().render(picture.compositedOver(picture.scaled(1e-9, 1e9)), target, bounds);
            for (const double scale : {1e-12, 0.01, 0.5, 33.3, 1e7})
                RenderContext().render(picture.scaled(scale, scale).gaussianBlurred(1.5 * scale)->memoized(),
                                       target, {0, 0, 1, 1});
        }
    }
}

}  // namespace
}  // namespace platform::test

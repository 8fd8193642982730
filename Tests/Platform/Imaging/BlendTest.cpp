#include "Platform/Imaging/Blend.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <gtest/gtest.h>

namespace platform::test {
namespace {

TEST(BlendTest, SourceOverInsideItsRectangleAlone) {
    const auto below = flatPicture(4, 3, {200, 100, 40, 255});
    blendOver(*flatPicture(2, 1, {0, 50, 128, 128}), *below, 1, 2);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) {
            const bool isCovered = y == 2 && (x == 1 || x == 2);
            EXPECT_EQ(pixelAt(*below, x, y),
                      isCovered ? (Pixel{100, 100, 148, 255}) : (Pixel{200, 100, 40, 255}));
        }
    // One half over another leaves a quarter open.
    const auto half = flatPicture(1, 1, {0, 50, 128, 128});
    blendOver(*flatPicture(1, 1, {0, 50, 128, 128}), *half, 0, 0);
    EXPECT_EQ(pixelAt(*half, 0, 0), (Pixel{0, 75, 192, 192}));
}

TEST(BlendTest, MasksMultiplyAndSumsEndAtWhite) {
    const auto picture = flatPicture(4, 1, {250, 100, 3, 255});
    const std::array<int, 4> levels{0, 1, 128, 255};
    multiplyByMask(*picture,
                   *grayPicture(4, 1, [&](int x, int) { return levels[static_cast<std::size_t>(x)]; }));
    const std::array<Pixel, 4> masked{{{0, 0, 0, 0}, {1, 0, 0, 1}, {125, 50, 2, 128}, {250, 100, 3, 255}}};
    for (int x = 0; x < 4; ++x) EXPECT_EQ(pixelAt(*picture, x, 0), masked[static_cast<std::size_t>(x)]);
    add(*flatPicture(4, 1, {10, 20, 30, 127}), *picture);
    EXPECT_EQ(pixelAt(*picture, 2, 0), (Pixel{135, 70, 32, 255}));
    EXPECT_EQ(pixelAt(*picture, 3, 0), (Pixel{255, 120, 33, 255}));
}

TEST(BlendTest, ChangesNoSampleOfAPlaneOutsideItsRectangle) {
    const auto source = noise(PixelFormat::i420, 101, 67, 9);
    const auto out = converted(*source, PixelFormat::i420);
    // In the middle, at the odd lower right edge, and one that is transparent.
    blendOver(*noise(PixelFormat::bgra, 12, 8, 3), *out, 40, 20);
    blendOver(*noise(PixelFormat::bgra, 13, 11, 4), *out, 88, 56);
    blendOver(*flatPicture(30, 30, {0, 0, 0, 0}), *out, 4, 30);
    int changed = 0;
    for (int plane = 0; plane < 3; ++plane) {
        const int size = plane ? 2 : 1;
        for (int y = 0; y < out->plane(plane).height; ++y)
            for (int x = 0; x < out->plane(plane).width; ++x) {
                const int px = x * size, py = y * size;
                const bool mayChange = (px >= 40 && px < 52 && py >= 20 && py < 28) || (px >= 88 && py >= 56);
                const bool differs = *sampleAt(*out, x, y, plane) != *sampleAt(*source, x, y, plane);
                changed += differs;
                EXPECT_FALSE(differs && !mayChange) << "plane " << plane << " at " << x << ", " << y;
            }
    }
    EXPECT_GT(changed, 200);
}

TEST(BlendTest, OnPlanesItIsAsInColors) {
    const auto colors = waves(96, 64);
    const auto veil = bgraPicture(96, 64, [](int x, int y) {
        const int alpha = std::min(255, x * 2 + y);
        return Pixel{alpha / 10, alpha / 3, alpha * 9 / 10, alpha};
    });
    for (const ColorMatrix matrix : matrices) {
        const auto planar = converted(*colors, PixelFormat::i420, matrix);
        const auto direct = converted(*planar, PixelFormat::bgra);
        blendOver(*veil, *planar, 0, 0);
        blendOver(*veil, *direct, 0, 0);
        EXPECT_GT(peakSignalToNoise(*converted(*planar, PixelFormat::bgra), *direct), 40);
    }
}

TEST(BlendTest, BlackIsBlackInEveryFormatAndMatrix) {
    for (const ColorMatrix matrix : matrices) {
        const auto planar = noise(PixelFormat::i420, 9, 5, 1, matrix);
        fillBlack(*planar);
        const auto black = converted(*planar, PixelFormat::bgra);
        EXPECT_EQ(pixelAt(*black, 8, 4), (Pixel{0, 0, 0, 255}));
    }
    const auto colors = noise(PixelFormat::bgra, 3, 3);
    fillBlack(*colors);
    EXPECT_EQ(pixelAt(*colors, 2, 2), (Pixel{0, 0, 0, 255}));
}

}  // namespace
}  // namespace platform::test

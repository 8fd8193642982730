#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/PictureSupport.hpp"
#include "Platform/Imaging/Resampler.hpp"

#include <gtest/gtest.h>

namespace platform::test {
namespace {

TEST(PlanarTest, AgreesWithTheWayThroughColors) {
    const auto source = converted(*waves(160, 120), PixelFormat::i420);
    Resampler resampler;
    for (const Rect& part : {Rect{0, 0, 160, 120}, Rect{0, 60, 80, 60}, Rect{33.3, 21.7, 91, 68.25}}) {
        PixelBuffer planar(PixelFormat::i420, 200, 150), direct(PixelFormat::bgra, 200, 150);
        resampler.draw(*source, part, planar, boundsOf(planar));
        resampler.draw(*source, part, direct, boundsOf(direct));
        EXPECT_GT(peakSignalToNoise(*converted(planar, PixelFormat::bgra), direct), 38) << part.x;
    }
}

/// A chroma step that lies on a luma step stays on it, whatever the zoom.
TEST(PlanarTest, ColorStaysWithBrightness) {
    const auto colors = bgraPicture(64, 8, [](int x, int) {
        return x < 32 ? Pixel{0, 0, 160, 255} : Pixel{255, 255, 255, 255};
    });
    const auto source = converted(*colors, PixelFormat::i420);
    for (const double zoom : {1.7, 2.0, 3.3}) {
        PixelBuffer out(PixelFormat::i420, 80, 8);
        Resampler().draw(*source, {20.4, 0, 80 / zoom, 8}, out, boundsOf(out));
        const auto edgeOf = [&](int plane) {
            const int width = static_cast<int>(std::min(80.0, (64 - 20.4) * zoom - 4)) / (plane ? 2 : 1);
            const double left = *sampleAt(out, 0, 1, plane), right = *sampleAt(out, width - 1, 1, plane);
            double edge = 0;
            for (int x = 0; x < width; ++x) edge += (*sampleAt(out, x, 1, plane) - right) / (left - right);
            return edge * (plane ? 2 : 1);
        };
        EXPECT_NEAR(edgeOf(0), 11.6 * zoom, 0.1);
        EXPECT_NEAR(edgeOf(2), 11.6 * zoom, 0.3);
    }
}

TEST(PlanarTest, ColorsSurviveTheRoundTripInEveryMatrix) {
    const auto colors = bgraPicture(64, 64, [](int x, int y) {
        const int block = x / 8 + y / 8 * 8;
        return Pixel{block * 37 % 256, block * 91 % 256, block * 53 % 256, 255};
    });
    for (const ColorMatrix matrix : matrices) {
        const auto planar = converted(*colors, PixelFormat::i420, matrix);
        EXPECT_LE(largestDifference(*colors, *converted(*planar, PixelFormat::bgra)), 5);
        // From any matrix to any other, and back to colors; drawn and copied.
        for (const ColorMatrix other : matrices) {
            PixelBuffer moved(PixelFormat::i420, 64, 64, other);
            Resampler().draw(*planar, boundsOf(*planar), moved, boundsOf(moved));
            EXPECT_LE(largestDifference(*colors, *converted(moved, PixelFormat::bgra)), 7);
            const auto copied = converted(*planar, PixelFormat::i420, other);
            for (int i = 0; i < 3; ++i) EXPECT_EQ(largestDifference(moved, *copied, i), 0);
        }
    }
}

/// Published figures: pure colors in BT.709 and BT.601, limited and full.
TEST(PlanarTest, PureColorsHaveTheirPublishedLevels) {
    struct Case {
        ColorMatrix matrix;
        Pixel color;
        std::array<int, 3> yuv;
    };
    const Case cases[] = {
        {ColorMatrix::bt709Limited, {0, 0, 255, 255}, {63, 102, 240}},
        {ColorMatrix::bt709Limited, {0, 255, 0, 255}, {173, 42, 26}},
        {ColorMatrix::bt709Limited, {255, 0, 0, 255}, {32, 240, 118}},
        {ColorMatrix::bt709Limited, {255, 255, 255, 255}, {235, 128, 128}},
        {ColorMatrix::bt601Limited, {0, 0, 255, 255}, {81, 90, 240}},
        {ColorMatrix::bt601Limited, {0, 255, 0, 255}, {145, 54, 34}},
        {ColorMatrix::bt601Full, {255, 0, 0, 255}, {29, 255, 107}},
        {ColorMatrix::bt709Full, {255, 255, 255, 255}, {255, 128, 128}},
        {ColorMatrix::bt709Limited, {0, 0, 0, 0}, {16, 128, 128}},
    };
    for (const Case& c : cases) {
        const auto planar = converted(*flatPicture(3, 3, c.color), PixelFormat::i420, c.matrix);
        for (int plane = 0; plane < 3; ++plane)
            EXPECT_NEAR(*sampleAt(*planar, plane ? 1 : 2, plane ? 1 : 2, plane),
                        c.yuv[static_cast<std::size_t>(plane)], 1)
                << "plane " << plane << " of " << c.color[0] << ' ' << c.color[1] << ' ' << c.color[2];
    }
}

TEST(PlanarTest, PairsThatMakeNoSenseAreRefused) {
    const auto gray = noise(PixelFormat::gray8, 5, 3);
    PixelBuffer colors(PixelFormat::bgra, 5, 3), small(PixelFormat::gray8, 4, 3);
    EXPECT_THROW(convertPixels(*gray, colors), PlatformError);
    EXPECT_THROW(convertPixels(*gray, small), PlatformError);
    EXPECT_THROW(Resampler().draw(*gray, boundsOf(*gray), colors, boundsOf(colors)), PlatformError);
}

}  // namespace
}  // namespace platform::test

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <cstring>

#include <gtest/gtest.h>

namespace platform::test {
namespace {

constexpr ColorMatrix matrices[] = {ColorMatrix::bt601Limited, ColorMatrix::bt601Full,
                                    ColorMatrix::bt709Limited, ColorMatrix::bt709Full};

Rect boundsOf(const PixelBuffer& buffer) {
    return {0, 0, static_cast<double>(buffer.width()), static_cast<double>(buffer.height())};
}

double peakSignalToNoise(const PixelBuffer& a, const PixelBuffer& b) {
    double squares = 0;
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (std::size_t c = 0; c < 3; ++c, ++count) {
                const double d = pixelAt(a, x, y)[c] - pixelAt(b, x, y)[c];
                squares += d * d;
            }
    return 10 * std::log10(255.0 * 255.0 * count / std::max(squares, 1e-9));
}

TEST(PlanarRender, agreesWithTheWayThroughColors) {
    const auto colors = waves(160, 120);
    for (const Rect& crop : {Rect{0, 0, 160, 120}, Rect{0, 60, 80, 60}, Rect{33.3, 21.7, 91, 68.25}}) {
        const Image part = Image::fromBuffer(converted(*colors, PixelFormat::i420))
                               .cropped(crop)
                               .translated(-crop.x, -crop.y)
                               .scaled(200 / crop.w, 150 / crop.h)
                               .cropped({0, 0, 200, 150});
        PixelBuffer planar(PixelFormat::i420, 200, 150);
        RenderContext().render(part, planar, boundsOf(planar));
        PixelBuffer direct(PixelFormat::bgra, 200, 150);
        RenderContext().render(part, direct, boundsOf(direct));
        EXPECT_GT(peakSignalToNoise(*converted(planar, PixelFormat::bgra), direct), 38) << crop.x;
    }
}

/// A chroma step that lies on a luma step stays on it, whatever the zoom.
TEST(PlanarRender, colorStaysWithBrightness) {
    const auto colors = bgraPicture(64, 8, [](int x, int) {
        return x < 32 ? Pixel{0, 0, 160, 255} : Pixel{255, 255, 255, 255};
    });
    const Image source = Image::fromBuffer(converted(*colors, PixelFormat::i420));
    for (const double zoom : {1.7, 2.0, 3.3}) {
        PixelBuffer out(PixelFormat::i420, 160, 8);
        RenderContext().render(source.translated(-10.4, 0).scaled(zoom, 1), out, boundsOf(out));
        const auto edgeOf = [&](int plane) {
            const int width = static_cast<int>(std::min(160.0, (64 - 10.4) * zoom - 4)) / (plane ? 2 : 1);
            const double left = *sampleAt(out, 0, 1, plane), right = *sampleAt(out, width - 1, 1, plane);
            double edge = 0;
            for (int x = 0; x < width; ++x) edge += (*sampleAt(out, x, 1, plane) - right) / (left - right);
            return edge * (plane ? 2 : 1);
        };
        EXPECT_NEAR(edgeOf(0), 21.6 * zoom, 0.1);
        EXPECT_NEAR(edgeOf(2), 21.6 * zoom, 0.3);
    }
}

TEST(PlanarRender, sameSizeCopiesThePlanes) {
    const auto source = noise(PixelFormat::i420, 37, 21, 4);
    PixelBuffer out(PixelFormat::i420, 37, 21);
    RenderContext().render(Image::fromBuffer(source).cropped({0, 0, 37, 21}), out, boundsOf(out));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(largestDifference(*source, out, i), 0);
}

TEST(PlanarRender, overlaysChangeNothingOutsideTheirRectangle) {
    const auto source = noise(PixelFormat::i420, 101, 67, 9);
    const Image screen = Image::fromBuffer(source);
    Canvas canvas(101, 67);
    canvas.fillEllipse({10.2, 12.4, 20, 20}, {1, 0.5, 0, 0.6});
    // One overlay beyond the edge, two that meet, one that is transparent.
    const Image stack =
        canvas.image()
            .compositedOver(Image::constant({0, 1, 0, 1}).cropped({25, 20, 9, 7}))
            .compositedOver(Image::fromBuffer(flatPicture(30, 30, {90, 0, 0, 120})).translated(90, -10))
            .compositedOver(Image::constant({0, 0, 0, 0}).cropped({40, 40, 20, 20}));
    PixelBuffer out(PixelFormat::i420, 101, 67);
    RenderContext().render(stack.compositedOver(screen), out, boundsOf(out));

    const Rect touched[] = {{9, 11, 23, 23}, {24, 19, 11, 9}, {89, 0, 12, 21}};
    int changed = 0;
    for (int plane = 0; plane < 3; ++plane) {
        const int size = plane ? 2 : 1;
        for (int y = 0; y < out.plane(plane).height; ++y)
            for (int x = 0; x < out.plane(plane).width; ++x) {
                const Rect sample{static_cast<double>(x * size), static_cast<double>(67 - (y + 1) * size),
                                  static_cast<double>(size), static_cast<double>(size)};
                const bool mayChange =
                    std::any_of(std::begin(touched), std::end(touched),
                                [&](const Rect& r) { return !r.intersected(sample).isEmpty(); });
                const bool differs = *sampleAt(out, x, y, plane) != *sampleAt(*source, x, y, plane);
                changed += differs;
                EXPECT_FALSE(differs && !mayChange) << "plane " << plane << " at " << x << ", " << y;
            }
    }
    EXPECT_GT(changed, 500);
}

/// Two that do not meet, one that joins them, one that lies under all: the order of the stack counts.
TEST(PlanarRender, overlaysKeepTheirOrder) {
    const Image screen = Image::fromBuffer(converted(*waves(64, 32), PixelFormat::i420));
    const Image red = Image::constant({0.8, 0.1, 0.1, 1}).cropped({4, 4, 16, 16});
    const Image green = Image::constant({0.1, 0.8, 0.1, 1}).cropped({40, 8, 16, 16});
    const Image blue = Image::constant({0.1, 0.1, 0.8, 1}).cropped({12, 10, 36, 8});
    const Image gray = Image::constant({0.5, 0.5, 0.5, 1}).cropped({0, 12, 64, 4});
    const Image stacks[] = {
        blue.compositedOver(green).compositedOver(red).compositedOver(gray),
        green.compositedOver(gray.compositedOver(red).compositedOver(blue)),
        gray.compositedOver(red.compositedOver(blue.compositedOver(green))),
    };
    for (const Image& stack : stacks) {
        PixelBuffer planar(PixelFormat::i420, 64, 32);
        RenderContext().render(stack.compositedOver(screen), planar, boundsOf(planar));
        const auto direct = RenderContext().makeBitmap(stack.compositedOver(screen), 64, 32);
        EXPECT_GT(peakSignalToNoise(*converted(planar, PixelFormat::bgra), *direct), 40);
    }
}

TEST(PlanarRender, overlaysBlendAsInColors) {
    const auto colors = waves(96, 64);
    for (const ColorMatrix matrix : matrices) {
        const Image screen = Image::fromBuffer(converted(*colors, PixelFormat::i420, matrix));
        const Image veil = Image::fromBuffer(RenderContext().makeBitmap(
            *Image::constant({0.9, 0.3, 0.1, 0.8})
                 .cropped({0, 0, 96, 64})
                 .blendedWithMask(*Image::fromBuffer(grayPicture(96, 64, [](int x, int) { return x * 2; }))
                                       .gaussianBlurred(2)),
            96, 64));
        PixelBuffer planar(PixelFormat::i420, 96, 64, matrix);
        RenderContext().render(veil.compositedOver(screen), planar, boundsOf(planar));
        const auto direct = RenderContext().makeBitmap(veil.compositedOver(screen), 96, 64);
        EXPECT_GT(peakSignalToNoise(*converted(planar, PixelFormat::bgra), *direct), 40);
    }
}

TEST(PlanarRender, colorsSurviveTheRoundTripInEveryMatrix) {
    const auto colors = bgraPicture(64, 64, [](int x, int y) {
        const int block = x / 8 + y / 8 * 8;
        return Pixel{block * 37 % 256, block * 91 % 256, block * 53 % 256, 255};
    });
    for (const ColorMatrix matrix : matrices) {
        const auto planar = converted(*colors, PixelFormat::i420, matrix);
        EXPECT_LE(largestDifference(*colors, *converted(*planar, PixelFormat::bgra)), 5);
        // From any matrix to any other, and back to colors.
        for (const ColorMatrix other : matrices) {
            PixelBuffer moved(PixelFormat::i420, 64, 64, other);
            RenderContext().render(Image::fromBuffer(planar), moved, boundsOf(moved));
            EXPECT_LE(largestDifference(*colors, *converted(moved, PixelFormat::bgra)), 7);
        }
    }
}

/// Published figures: pure colors in BT.709 and BT.601, limited and full.
TEST(PlanarRender, pureColorsHaveTheirPublishedLevels) {
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

TEST(PlanarRender, fillsWhatThePictureLeavesWithBlack) {
    const auto source = converted(*flatPicture(9, 9, {200, 200, 200, 255}), PixelFormat::i420);
    for (const auto& [dx, dy] : {std::pair{0.0, 0.0}, {4.0, 2.0}, {3.0, 5.0}, {-3.0, -3.0}}) {
        PixelBuffer out(PixelFormat::i420, 15, 13);
        // Not black before.
        for (int i = 0; i < 3; ++i)
            std::memset(out.plane(i).data, 200,
                        static_cast<std::size_t>(out.plane(i).stride * out.plane(i).height));
        RenderContext().render(Image::fromBuffer(source).translated(dx, dy), out, boundsOf(out));
        for (int y = 0; y < 13; ++y)
            for (int x = 0; x < 15; ++x) {
                const bool inside = x >= dx && x < dx + 9 && 12 - y >= dy && 12 - y < dy + 9;
                EXPECT_NEAR(*sampleAt(out, x, y), inside ? 188 : 16, 1)
                    << dx << ' ' << dy << " at " << x << ' ' << y;
            }
        for (int plane = 1; plane < 3; ++plane)
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < 8; ++x) EXPECT_NEAR(*sampleAt(out, x, y, plane), 128, 1);
    }
}

TEST(ConvertPixels, grayAndLumaAndItsErrors) {
    const auto gray = grayPicture(5, 3, [](int x, int y) { return x * 50 + y * 10; });
    for (const ColorMatrix matrix : matrices) {
        const auto planar = converted(*gray, PixelFormat::i420, matrix);
        EXPECT_LE(largestDifference(*gray, *converted(*planar, PixelFormat::gray8)), 1);
    }
    EXPECT_LE(largestDifference(*gray, *converted(*converted(*gray, PixelFormat::bgra), PixelFormat::gray8)),
              1);
    EXPECT_EQ(largestDifference(*gray, *converted(*gray, PixelFormat::gray8)), 0);

    PixelBuffer small(PixelFormat::bgra, 4, 3);
    try {
        convertPixels(*gray, small);
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "Imaging");
        EXPECT_EQ(error.code(), 2);
    }
}

}  // namespace
}  // namespace platform::test

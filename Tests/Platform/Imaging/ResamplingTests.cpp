#include "Platform/Imaging/PictureSupport.hpp"

#include <gtest/gtest.h>

namespace platform::test {
namespace {

/// The weight of sample k for a place `centre` among the samples, for steps of `step`.
double triangle(int k, double centre, double step) {
    const double support = std::max(1.0, std::abs(step));
    return std::max(0.0, 1 - std::abs(k + 0.5 - centre) / support);
}

/// A channel of `source` at a place (x from the left, y from the top, in pixels), in floating point; samples
/// outside [x0, x1) × [y0, y1) repeat the outermost ones.
double referenceSample(const PixelBuffer& source, int channel, double x, double y, double stepX, double stepY,
                       int x0, int y0, int x1, int y1) {
    const int reachX = static_cast<int>(std::ceil(std::max(1.0, std::abs(stepX)))) + 1;
    const int reachY = static_cast<int>(std::ceil(std::max(1.0, std::abs(stepY)))) + 1;
    double sum = 0, total = 0;
    for (int row = static_cast<int>(std::floor(y)) - reachY; row <= std::floor(y) + reachY; ++row)
        for (int column = static_cast<int>(std::floor(x)) - reachX; column <= std::floor(x) + reachX;
             ++column) {
            const double weight = triangle(row, y, stepY) * triangle(column, x, stepX);
            const auto* pixel = sampleAt(source, std::clamp(column, x0, x1 - 1), std::clamp(row, y0, y1 - 1));
            sum += weight * pixel[channel];
            total += weight;
        }
    return sum / total;
}

Image zoomed(const Image& source, const Rect& crop, int width, int height) {
    return source.cropped(crop)
        .translated(-crop.x, -crop.y)
        .scaled(width / crop.w, height / crop.h)
        .cropped({0, 0, static_cast<double>(width), static_cast<double>(height)});
}

TEST(Resampling, followsTheReferenceForAnyCropAndScale) {
    std::mt19937 random(3);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    RenderContext context;
    for (int round = 0; round < 60; ++round) {
        const PixelFormat format = round % 2 ? PixelFormat::bgra : PixelFormat::gray8;
        const int channels = format == PixelFormat::bgra ? 4 : 1;
        const int width = 3 + static_cast<int>(random() % 60), height = 3 + static_cast<int>(random() % 60);
        const auto source = noise(format, width, height, random());
        Rect crop{between(0, width / 2.0), between(0, height / 2.0), 0, 0};
        crop.w = between(1, width - crop.x);
        crop.h = between(1, height - crop.y);
        const int outWidth = 1 + static_cast<int>(random() % 90),
                  outHeight = 1 + static_cast<int>(random() % 90);

        PixelBuffer out(format, outWidth, outHeight);
        context.render(zoomed(Image::fromBuffer(source), crop, outWidth, outHeight), out,
                       {0, 0, static_cast<double>(outWidth), static_cast<double>(outHeight)});

        const double stepX = crop.w / outWidth, stepY = crop.h / outHeight;
        const double top = height - crop.maxY();
        double worst = 0;
        for (int y = 0; y < outHeight; ++y)
            for (int x = 0; x < outWidth; ++x)
                for (int c = 0; c < channels; ++c) {
                    const double expected = referenceSample(
                        *source, c, crop.x + (x + 0.5) * stepX, top + (y + 0.5) * stepY, stepX, stepY,
                        static_cast<int>(std::floor(crop.x)), static_cast<int>(std::floor(top)),
                        static_cast<int>(std::ceil(crop.maxX())),
                        static_cast<int>(std::ceil(height - crop.y)));
                    worst = std::max(worst, std::abs(sampleAt(out, x, y)[c] - expected));
                }
        // Half a level of rounding, and a little for weights in fixed point.
        EXPECT_LE(worst, 1.0) << width << " × " << height << ", crop " << crop.x << ' ' << crop.y << ' '
                              << crop.w << ' ' << crop.h << " to " << outWidth << " × " << outHeight;
    }
}

TEST(Resampling, aCreepingZoomMovesAnEdgeSteadily) {
    // Bright to the right of x = 200. The crop's left edge stays, its right edge creeps in by a tenth of a
    // pixel a frame: the edge moves to the right by the same fraction of an output pixel each time.
    const auto source = grayPicture(400, 4, [](int x, int) { return x < 200 ? 20 : 220; });
    RenderContext context;
    PixelBuffer out(PixelFormat::gray8, 640, 4);
    const auto edgeOf = [&](double width) {
        context.render(zoomed(Image::fromBuffer(source), {0, 0, width, 4}, 640, 4), out, {0, 0, 640, 4});
        double dark = 0;
        for (int x = 0; x < 640; ++x) dark += (220 - *sampleAt(out, x, 1)) / 200.0;
        return dark;
    };
    double previous = edgeOf(390);
    for (int frame = 1; frame < 200; ++frame) {
        const double width = 390 - 0.1 * frame;
        const double edge = edgeOf(width);
        EXPECT_GT(edge, previous) << "frame " << frame;
        EXPECT_NEAR(edge, 200 * 640 / width, 0.1) << "frame " << frame;
        previous = edge;
    }
}

TEST(Resampling, wholeStepsCopyExactly) {
    const auto source = noise(PixelFormat::bgra, 23, 17);
    RenderContext context;
    PixelBuffer out(PixelFormat::bgra, 10, 8);
    context.render(Image::fromBuffer(source).translated(-4, -3), out, {0, 0, 10, 8});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) EXPECT_EQ(pixelAt(out, x, y), pixelAt(*source, x + 4, 17 - 3 - 8 + y));
}

TEST(Resampling, negativeScaleMirrors) {
    const auto source = noise(PixelFormat::bgra, 12, 9);
    const auto mirrored =
        RenderContext().makeBitmap(Image::fromBuffer(source).scaled(-1, 1).translated(12, 0), 12, 9);
    const auto turned =
        RenderContext().makeBitmap(Image::fromBuffer(source).scaled(-2, -2).translated(24, 18), 24, 18);
    const auto doubled = RenderContext().makeBitmap(Image::fromBuffer(source).scaled(2, 2), 24, 18);
    for (int y = 0; y < 18; ++y)
        for (int x = 0; x < 24; ++x) {
            if (x < 12 && y < 9) {
                EXPECT_EQ(pixelAt(*mirrored, x, y), pixelAt(*source, 11 - x, y));
            }
            const Pixel a = pixelAt(*turned, x, y), b = pixelAt(*doubled, 23 - x, 17 - y);
            for (std::size_t c = 0; c < 4; ++c) EXPECT_NEAR(a[c], b[c], 1);
        }
}

TEST(Resampling, aCropBelowAScaleKeepsItsNeighboursOut) {
    // White frame around black: enlarged, the black crop must not gain a gray rim.
    const auto source =
        grayPicture(8, 8, [](int x, int y) { return x < 2 || x >= 6 || y < 2 || y >= 6 ? 255 : 0; });
    PixelBuffer out(PixelFormat::gray8, 40, 40);
    RenderContext().render(zoomed(Image::fromBuffer(source), {2, 2, 4, 4}, 40, 40), out, {0, 0, 40, 40});
    EXPECT_EQ(largestDifference(out, PixelBuffer(PixelFormat::gray8, 40, 40)), 0);

    // Cropped after scaling, the same pixels come out as without the crop.
    const Image large = Image::fromBuffer(noise(PixelFormat::gray8, 8, 8)).scaled(5, 5);
    const auto all = RenderContext().makeBitmap(large, 40, 40);
    const auto part = RenderContext().makeBitmap(large.cropped({13, 7, 11, 20}), 40, 40);
    for (int y = 13; y < 33; ++y)
        for (int x = 13; x < 24; ++x) EXPECT_EQ(pixelAt(*part, x, y), pixelAt(*all, x, y));
}

TEST(Resampling, strongReductionStaysWithinThePicture) {
    const auto white = grayPicture(1000, 900, [](int, int) { return 255; });
    const auto checks = grayPicture(1000, 900, [](int x, int y) { return (x + y) % 2 ? 255 : 0; });
    for (const int size : {1, 2, 7}) {
        PixelBuffer out(PixelFormat::gray8, size, size);
        const Rect bounds{0, 0, static_cast<double>(size), static_cast<double>(size)};
        RenderContext().render(Image::fromBuffer(white).scaled(size / 1000.0, size / 900.0), out, bounds);
        EXPECT_EQ(*sampleAt(out, size - 1, size - 1), 255);
        RenderContext().render(Image::fromBuffer(checks).scaled(size / 1000.0, size / 900.0), out, bounds);
        EXPECT_NEAR(*sampleAt(out, size / 2, size / 2), 128, 2);
    }
}

}  // namespace
}  // namespace platform::test

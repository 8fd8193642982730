#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <limits>
#include <numbers>

#include <gtest/gtest.h>

namespace platform::test {
namespace {

constexpr Color white{1, 1, 1, 1};

/// The covered area in pixels, and its centre in the plane.
struct Coverage {
    double area = 0;
    double x = 0;
    double y = 0;
};

Coverage coverageOf(const Image& image, int width, int height) {
    const auto bitmap = RenderContext().makeBitmap(image, width, height);
    Coverage coverage;
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x) {
            const double alpha = pixelAt(*bitmap, x, row)[3] / 255.0;
            coverage.area += alpha;
            coverage.x += alpha * (x + 0.5);
            coverage.y += alpha * (height - row - 0.5);
        }
    coverage.x /= coverage.area;
    coverage.y /= coverage.area;
    return coverage;
}

TEST(Canvas, fillsAndStrokesTheRightAreaAtTheRightPlace) {
    Canvas filled(200, 150);
    filled.fillEllipse({20.3, 90.6, 60, 40}, white);
    const Coverage fill = coverageOf(filled.image(), 200, 150);
    EXPECT_NEAR(fill.area, std::numbers::pi * 30 * 20, 10);
    EXPECT_NEAR(fill.x, 50.3, 0.05);
    EXPECT_NEAR(fill.y, 110.6, 0.05) << "y grows upwards";

    Canvas stroked(200, 150);
    stroked.strokeEllipse({40, 30, 80, 80}, white, 3);
    const Coverage stroke = coverageOf(stroked.image(), 200, 150);
    EXPECT_NEAR(stroke.area, std::numbers::pi * (41.5 * 41.5 - 38.5 * 38.5), 6);
    EXPECT_NEAR(stroke.x, 80, 0.05);
    EXPECT_NEAR(stroke.y, 70, 0.05);
}

TEST(Canvas, laterShapesLieOverEarlierOnesPremultiplied) {
    Canvas canvas(20, 20);
    canvas.fillEllipse({0, 0, 20, 20}, {0, 0, 1, 1});
    canvas.fillEllipse({5, 5, 10, 10}, {1, 0, 0, 0.5});
    const auto bitmap = RenderContext().makeBitmap(canvas.image(), 20, 20);
    const Pixel centre = pixelAt(*bitmap, 10, 10);
    EXPECT_NEAR(centre[0], 127, 1);
    EXPECT_NEAR(centre[2], 128, 1);
    EXPECT_EQ(centre[3], 255);
    EXPECT_EQ(pixelAt(*bitmap, 10, 2), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(*bitmap, 0, 0), (Pixel{0, 0, 0, 0}));

    Canvas alone(20, 20);
    alone.fillEllipse({0, 0, 20, 20}, {1, 0.5, 0, 0.4});
    const Pixel pixel = pixelAt(*RenderContext().makeBitmap(alone.image(), 20, 20), 10, 10);
    EXPECT_NEAR(pixel[3], 102, 1);
    EXPECT_NEAR(pixel[2], 102, 1);
    EXPECT_NEAR(pixel[1], 51, 1);
    EXPECT_EQ(pixel[0], 0);
}

TEST(Canvas, clipsToItsExtent) {
    Canvas canvas(40, 30);
    canvas.fillEllipse({-20, -20, 40, 40}, white);
    const Image image = canvas.image();
    EXPECT_EQ(image.extent(), (Rect{0, 0, 40, 30}));
    // A quarter of the disc; nothing of the rest appears when there would be room.
    EXPECT_NEAR(coverageOf(image.translated(25, 25), 100, 100).area, std::numbers::pi * 100, 4);

    Canvas vast(10, 10);
    vast.fillEllipse({-1e6, -1e6, 2e6 + 10, 2e6 + 10}, white);
    EXPECT_NEAR(coverageOf(vast.image(), 10, 10).area, 100, 0.01);
}

TEST(Canvas, ignoresWhatIsNoShapeOrNotThere) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    Canvas canvas(40, 30);
    canvas.fillEllipse({100, 100, 10, 10}, white);
    canvas.fillEllipse({0, 0, -10, 10}, white);
    canvas.fillEllipse({0, nan, 10, 10}, white);
    canvas.strokeEllipse({0, 0, 10, 10}, white, 0);
    canvas.strokeEllipse({0, 0, 10, 10}, white, nan);
    canvas.fillEllipse({0, 0, 10, 10}, {1, 1, 1, nan});
    const auto bitmap = RenderContext().makeBitmap(canvas.image(), 40, 30);
    EXPECT_EQ(largestDifference(*bitmap, PixelBuffer(PixelFormat::bgra, 40, 30)), 0);
    EXPECT_TRUE(Canvas(0, 10).image().isEmpty());
}

TEST(Canvas, isDrawnAtTheSizeAtWhichItIsSeen) {
    Canvas canvas(20, 20);
    canvas.fillEllipse({5, 5, 10, 10}, white);
    const Coverage large = coverageOf(canvas.image().scaled(8, 8), 160, 160);
    EXPECT_NEAR(large.area, std::numbers::pi * 40 * 40, 10);
    EXPECT_NEAR(large.y, 80, 0.05);
}

}  // namespace
}  // namespace platform::test

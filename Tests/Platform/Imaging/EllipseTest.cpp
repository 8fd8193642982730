#include "Platform/Imaging/Ellipse.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <limits>
#include <numbers>

#include <gtest/gtest.h>

namespace platform::test {
namespace {

constexpr Color white{1, 1, 1, 1};

/// The covered area in pixels, and its center.
struct Coverage {
    double area = 0;
    double x = 0;
    double y = 0;
};

Coverage coverageOf(const PixelBuffer& picture) {
    Coverage coverage;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const double alpha = pixelAt(picture, x, y)[3] / 255.0;
            coverage.area += alpha;
            coverage.x += alpha * (x + 0.5);
            coverage.y += alpha * (y + 0.5);
        }
    coverage.x /= coverage.area;
    coverage.y /= coverage.area;
    return coverage;
}

TEST(EllipseTest, CoversTheRightAreaAtTheRightPlace) {
    PixelBuffer filled(PixelFormat::bgra, 200, 150);
    fillEllipse(filled, {20.3, 90.6, 60, 40}, white);
    const Coverage fill = coverageOf(filled);
    EXPECT_NEAR(fill.area, std::numbers::pi * 30 * 20, 10);
    EXPECT_NEAR(fill.x, 50.3, 0.05);
    EXPECT_NEAR(fill.y, 110.6, 0.05);

    PixelBuffer stroked(PixelFormat::bgra, 200, 150);
    strokeEllipse(stroked, {40, 30, 80, 80}, white, 3);
    const Coverage stroke = coverageOf(stroked);
    EXPECT_NEAR(stroke.area, std::numbers::pi * (41.5 * 41.5 - 38.5 * 38.5), 6);
    EXPECT_NEAR(stroke.x, 80, 0.05);
    EXPECT_NEAR(stroke.y, 70, 0.05);
}

TEST(EllipseTest, LiesOverWhatIsThereAndIsPremultiplied) {
    PixelBuffer picture(PixelFormat::bgra, 20, 20);
    fillEllipse(picture, {0, 0, 20, 20}, {1, 0.5, 0, 0.4});
    const Pixel alone = pixelAt(picture, 10, 10);
    EXPECT_NEAR(alone[3], 102, 1);
    EXPECT_NEAR(alone[2], 102, 1);
    EXPECT_NEAR(alone[1], 51, 1);
    EXPECT_EQ(alone[0], 0);
    fillEllipse(picture, {0, 0, 20, 20}, {0, 0, 1, 1});
    fillEllipse(picture, {5, 5, 10, 10}, {1, 0, 0, 0.5});
    const Pixel both = pixelAt(picture, 10, 10);
    EXPECT_NEAR(both[0], 127, 1);
    EXPECT_NEAR(both[2], 128, 1);
    EXPECT_EQ(both[3], 255);
    EXPECT_EQ(pixelAt(picture, 10, 2), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(picture, 0, 0), (Pixel{0, 0, 0, 0}));
}

TEST(EllipseTest, WhatIsNoneDrawsNothing) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    PixelBuffer picture(PixelFormat::bgra, 40, 30);
    fillEllipse(picture, {100, 100, 10, 10}, white);
    fillEllipse(picture, {0, 0, -10, 10}, white);
    fillEllipse(picture, {0, nan, 10, 10}, white);
    fillEllipse(picture, {0, 0, 10, 10}, {1, 1, 1, nan});
    for (const double width : {0.0, -2.0, nan}) strokeEllipse(picture, {0, 0, 10, 10}, white, width);
    EXPECT_EQ(largestDifference(picture, PixelBuffer(PixelFormat::bgra, 40, 30)), 0);
}

}  // namespace
}  // namespace platform::test

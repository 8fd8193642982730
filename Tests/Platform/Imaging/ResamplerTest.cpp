#include "Platform/Imaging/PictureSupport.hpp"
#include "Platform/Imaging/Resampler.hpp"

#include <limits>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

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

TEST(ResamplerTest, FollowsTheReferenceForAnyPartAndScale) {
    std::mt19937 random(3);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    Resampler resampler;
    for (int round = 0; round < 60; ++round) {
        const PixelFormat format = round % 2 ? PixelFormat::bgra : PixelFormat::gray8;
        const int channels = format == PixelFormat::bgra ? 4 : 1;
        const int width = 3 + static_cast<int>(random() % 60), height = 3 + static_cast<int>(random() % 60);
        const auto source = noise(format, width, height, random());
        Rect from{between(0, width / 2.0), between(0, height / 2.0), 0, 0};
        from.w = between(1, width - from.x);
        from.h = between(1, height - from.y);
        const int outWidth = 1 + static_cast<int>(random() % 90),
                  outHeight = 1 + static_cast<int>(random() % 90);
        PixelBuffer out(format, outWidth, outHeight);
        // The whole target, and a part of it whose edges lie between the pixels.
        const Rect to = round % 3 ? boundsOf(out)
                                  : Rect{outWidth * between(-0.3, 0.4), outHeight * between(-0.3, 0.4),
                                         outWidth * between(0.2, 0.9), outHeight * between(0.2, 0.9)};
        resampler.draw(*source, from, out, to);

        const double stepX = from.w / to.w, stepY = from.h / to.h;
        double worst = 0;
        for (int y = 0; y < outHeight; ++y)
            for (int x = 0; x < outWidth; ++x)
                for (int c = 0; c < channels; ++c) {
                    const bool isInside =
                        x + 0.5 >= to.x && x + 0.5 < to.maxX() && y + 0.5 >= to.y && y + 0.5 < to.maxY();
                    const double expected =
                        !isInside ? 0
                                  : referenceSample(*source, c, from.x + (x + 0.5 - to.x) * stepX,
                                                    from.y + (y + 0.5 - to.y) * stepY, stepX, stepY,
                                                    static_cast<int>(std::floor(from.x)),
                                                    static_cast<int>(std::floor(from.y)),
                                                    static_cast<int>(std::ceil(from.maxX())),
                                                    static_cast<int>(std::ceil(from.maxY())));
                    worst = std::max(worst, std::abs(sampleAt(out, x, y)[c] - expected));
                }
        // Half a level of rounding, and a little for weights in fixed point.
        EXPECT_LE(worst, 1.0) << width << " × " << height << ", " << from.x << ' ' << from.y << ' ' << from.w
                              << ' ' << from.h << " to " << outWidth << " × " << outHeight;
    }
}

TEST(ResamplerTest, ACreepingZoomMovesAnEdgeSteadily) {
    // Bright to the right of x = 200. The part's left edge stays, its right edge creeps in by a tenth of a
    // pixel a frame: the edge moves to the right by the same fraction of an output pixel each time.
    const auto source = grayPicture(400, 4, [](int x, int) { return x < 200 ? 20 : 220; });
    Resampler resampler;
    PixelBuffer out(PixelFormat::gray8, 640, 4);
    const auto edgeOf = [&](double width) {
        resampler.draw(*source, {0, 0, width, 4}, out, boundsOf(out));
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

TEST(ResamplerTest, WholeStepsCopyExactly) {
    const auto source = noise(PixelFormat::bgra, 23, 17);
    PixelBuffer out(PixelFormat::bgra, 10, 8);
    Resampler().draw(*source, {4, 6, 7, 5}, out, {2, 1, 7, 5});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) {
            const bool isInside = x >= 2 && x < 9 && y >= 1 && y < 6;
            EXPECT_EQ(pixelAt(out, x, y), isInside ? pixelAt(*source, x + 2, y + 5) : (Pixel{0, 0, 0, 0}));
        }
}

TEST(ResamplerTest, StrongReductionStaysWithinThePicture) {
    const auto white = grayPicture(1000, 900, [](int, int) { return 255; });
    const auto checks = grayPicture(1000, 900, [](int x, int y) { return (x + y) % 2 ? 255 : 0; });
    Resampler resampler;
    for (const int size : {1, 2, 7}) {
        PixelBuffer out(PixelFormat::gray8, size, size);
        resampler.draw(*white, boundsOf(*white), out, boundsOf(out));
        EXPECT_EQ(*sampleAt(out, size - 1, size - 1), 255);
        resampler.draw(*checks, boundsOf(*checks), out, boundsOf(out));
        EXPECT_NEAR(*sampleAt(out, size / 2, size / 2), 128, 2);
    }
}

/// What a document that came from elsewhere may claim.
TEST(ResamplerTest, RectanglesThatAreNoneOrFarAwayAreHarmless) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Resampler resampler;
    for (const PixelFormat format : {PixelFormat::bgra, PixelFormat::i420})
        for (const auto& [width, height] : {std::pair{1, 1}, {3, 1}, {1, 5}, {7, 7}}) {
            const auto source = noise(PixelFormat::i420, 5, 3);
            PixelBuffer out(format, width, height);
            const Rect places[] = {{nan, 0, 1, 1}, {0, 0, infinity, 1}, {1e300, 0, 1, 1}, {0, 0, 0, 5},
                                   {0, 0, 5, -1},  {0, 0, 1e-300, 1},   {0, 0, 0, 0}};
            for (const Rect& none : places) {
                EXPECT_FALSE(resampler.draw(*source, none, out, boundsOf(out)));
                EXPECT_FALSE(resampler.draw(*source, boundsOf(*source), out, none));
            }
            for (const Rect& far : {Rect{-1e8, -1e8, 1, 1}, Rect{1e8, 1e8, 1e8, 1e8},
                                    Rect{-1e8, -1e8, 2e8, 2e8}, Rect{2.5, 1.5, 1e-8, 1e-8}}) {
                EXPECT_TRUE(resampler.draw(*source, far, out, boundsOf(out)));
                if (format == PixelFormat::bgra) {
                    EXPECT_TRUE(resampler.draw(*source, boundsOf(*source), out, far));
                }
            }
        }
}

TEST(ResamplerTest, ABlurFollowsTheReference) {
    Resampler resampler;
    for (const double sigma : {0.7, 1.5, 4.0, 10.0, 12.0, 16.0})
        for (const auto& [width, height] : {std::pair{150, 140}, {61, 40}, {9, 5}, {1, 1}}) {
            // Lit up to the edges: there it fades.
            const auto source =
                grayPicture(width, height, [](int x, int y) { return (x / 9 + y / 7) % 3 == 0 ? 255 : 10; });
            PixelBuffer out(PixelFormat::gray8, width, height);
            resampler.blur(*source, out, sigma);
            const auto matrix = [](const Plane& p) {
                return cv::Mat(p.height, p.width, CV_8UC1, p.data, static_cast<std::size_t>(p.stride));
            };
            cv::Mat expected, blurred;
            matrix(source->plane()).convertTo(expected, CV_64F);
            matrix(out.plane()).convertTo(blurred, CV_64F);
            const int reach = static_cast<int>(std::ceil(5 * sigma));
            cv::GaussianBlur(expected, expected, {2 * reach + 1, 2 * reach + 1}, sigma, sigma,
                             cv::BORDER_CONSTANT);
            const double worst = cv::norm(blurred, expected, cv::NORM_INF);
            EXPECT_LE(worst, 1.5) << sigma << " on " << width << " × " << height;
        }
}

}  // namespace
}  // namespace platform::test

#include "Platform/Imaging/Canvas.hpp"
#include "Platform/Imaging/PictureSupport.hpp"

#include <gtest/gtest.h>

namespace platform::test {
namespace {

/// A channel blurred in floating point; outside the picture lies nothing.
std::vector<double> referenceBlur(const PixelBuffer& source, int channel, double sigma, int margin) {
    const int width = source.width() + 2 * margin, height = source.height() + 2 * margin;
    const int reach = static_cast<int>(std::ceil(5 * sigma));
    std::vector<double> bell;
    double total = 0;
    for (int d = -reach; d <= reach; ++d)
        total += bell.emplace_back(std::exp(-0.5 * d * d / (sigma * sigma)));
    const auto pass = [&](const std::vector<double>& in, bool along) {
        std::vector<double> out(in.size(), 0.0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int d = -reach; d <= reach; ++d) {
                    const int sx = along ? x + d : x, sy = along ? y : y + d;
                    if (sx < 0 || sy < 0 || sx >= width || sy >= height) continue;
                    out[static_cast<std::size_t>(y * width + x)] +=
                        in[static_cast<std::size_t>(sy * width + sx)] *
                        bell[static_cast<std::size_t>(d + reach)] / total;
                }
        return out;
    };
    std::vector<double> spread(static_cast<std::size_t>(width * height), 0.0);
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x)
            spread[static_cast<std::size_t>((y + margin) * width + x + margin)] =
                sampleAt(source, x, y)[channel];
    return pass(pass(spread, true), false);
}

class GaussianBlur : public testing::TestWithParam<double> {};

TEST_P(GaussianBlur, followsTheReference) {
    const double sigma = GetParam();
    const auto source = bgraPicture(50, 40, [](int x, int y) {
        const bool lit = (x / 9 + y / 7) % 3 == 0;
        return lit ? Pixel{30, 255, 90, 255} : Pixel{0, 10, 20, 60};
    });
    const int margin = static_cast<int>(std::ceil(3 * sigma));
    const Image blurred = *Image::fromBuffer(source).gaussianBlurred(sigma);
    EXPECT_EQ(blurred.extent(), (Rect{-3 * sigma, -3 * sigma, 50 + 6 * sigma, 40 + 6 * sigma}));
    PixelBuffer out(PixelFormat::bgra, 50 + 2 * margin, 40 + 2 * margin);
    RenderContext().render(blurred, out, {-1.0 * margin, -1.0 * margin, 1, 1});
    for (int c = 0; c < 4; ++c) {
        const auto expected = referenceBlur(*source, c, sigma, margin);
        double worst = 0;
        for (int y = 0; y < out.height(); ++y)
            for (int x = 0; x < out.width(); ++x)
                worst = std::max(worst, std::abs(sampleAt(out, x, y)[c] -
                                                 expected[static_cast<std::size_t>(y * out.width() + x)]));
        // Beyond sixteen pixels it is computed at a reduced size; still below one in a hundred.
        EXPECT_LE(worst, sigma <= 16 ? 1.2 : 2.5) << "channel " << c;
    }
}

INSTANTIATE_TEST_SUITE_P(Radii, GaussianBlur, testing::Values(1.5, 4.0, 10.0, 12.0, 25.0));

TEST(GaussianBlurRecipe, aPartIsTheSameAsThatPartOfTheWhole) {
    const Image blurred = *Image::fromBuffer(noise(PixelFormat::bgra, 60, 50)).gaussianBlurred(3);
    const auto whole = RenderContext().makeBitmap(blurred, 60, 50);
    const auto part = RenderContext().makeBitmap(blurred.cropped({20, 10, 7, 5}), 60, 50);
    for (int y = 35; y < 40; ++y)
        for (int x = 20; x < 27; ++x) EXPECT_EQ(pixelAt(*part, x, y), pixelAt(*whole, x, y));
    EXPECT_EQ(pixelAt(*part, 19, 36), (Pixel{0, 0, 0, 0}));
}

TEST(GaussianBlurRecipe, aGrayMaskBlursLikeAPicture) {
    const auto gray = noise(PixelFormat::gray8, 16, 12);
    const Image mask = *Image::fromBuffer(gray).scaled(2.5, 2.5).gaussianBlurred(1.5);
    PixelBuffer alone(PixelFormat::gray8, 40, 30);
    RenderContext().render(mask, alone, {0, 0, 40, 30});
    const auto picture = RenderContext().makeBitmap(mask, 40, 30);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) EXPECT_NEAR(*sampleAt(alone, x, y), pixelAt(*picture, x, y)[1], 1);
}

/// Shrinking afterwards must look like shrinking the blurred picture.
TEST(GaussianBlurRecipe, scalesWithThePicture) {
    const auto source = waves(120, 88);
    const Image blurred = *Image::fromBuffer(source).gaussianBlurred(6);
    const Image fixed = Image::fromBuffer(RenderContext().makeBitmap(blurred.translated(18, 18), 156, 124));
    const auto direct = RenderContext().makeBitmap(blurred.scaled(0.375, 0.375), 45, 33);
    const auto stepwise = RenderContext().makeBitmap(fixed.translated(-18, -18).scaled(0.375, 0.375), 45, 33);
    EXPECT_LE(largestDifference(*direct, *stepwise), 3);
}

}  // namespace
}  // namespace platform::test

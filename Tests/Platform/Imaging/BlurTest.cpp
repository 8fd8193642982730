#include "Platform/Imaging/PictureSupport.hpp"
#include "Platform/Imaging/Resampler.hpp"

#include <gtest/gtest.h>

namespace platform::test {
namespace {

/// A gray picture blurred in floating point; beyond it lies black.
std::vector<double> referenceBlur(const PixelBuffer& source, double sigma) {
    const int width = source.width(), height = source.height();
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
    std::vector<double> levels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) levels.push_back(*sampleAt(source, x, y));
    return pass(pass(levels, true), false);
}

TEST(Blur, FollowsTheReference) {
    Resampler resampler;
    for (const double sigma : {0.7, 1.5, 4.0, 10.0, 12.0, 16.0})
        for (const auto& [width, height] : {std::pair{150, 140}, {61, 40}, {9, 5}, {1, 1}}) {
            // Lit up to the edges: there it fades.
            const auto source =
                grayPicture(width, height, [](int x, int y) { return (x / 9 + y / 7) % 3 == 0 ? 255 : 10; });
            PixelBuffer out(PixelFormat::gray8, width, height);
            resampler.blur(*source, out, sigma);
            const auto expected = referenceBlur(*source, sigma);
            double worst = 0;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    worst = std::max(worst, std::abs(*sampleAt(out, x, y) -
                                                     expected[static_cast<std::size_t>(y * width + x)]));
            EXPECT_LE(worst, 1.5) << sigma << " on " << width << " × " << height;
        }
}

}  // namespace
}  // namespace platform::test

#include "Platform/Imaging/PictureSupport.hpp"
#include "Platform/Imaging/Resampler.hpp"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

namespace platform::test {
namespace {

TEST(Blur, FollowsTheReference) {
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

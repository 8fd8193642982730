#include "Fidelity/Ssim.hpp"

#include <cstddef>

#include <opencv2/imgproc.hpp>

namespace fidelity {
namespace {

constexpr int window = 8, apart = 4;  // samples

/// The mean of each window of a plane.
cv::Mat1d means(const cv::Mat1d& plane) {
    cv::Mat1d sums, picked;
    cv::integral(plane, sums, CV_64F);
    picked.create((plane.rows - window) / apart + 1, (plane.cols - window) / apart + 1);
    for (int y = 0; y < picked.rows; ++y)
        for (int x = 0; x < picked.cols; ++x) {
            const int left = x * apart, top = y * apart, right = left + window, bottom = top + window;
            picked(y, x) = (sums(bottom, right) - sums(top, right) - sums(bottom, left) + sums(top, left)) /
                           (window * window);
        }
    return picked;
}

cv::Mat1d samplesOf(const platform::Plane& plane) {
    const cv::Mat1b bytes(plane.height, plane.width, plane.data, static_cast<std::size_t>(plane.stride));
    return cv::Mat1d(bytes);
}

}  // namespace

double ssim(const platform::Plane& planeA, const platform::Plane& planeB) {
    if (planeA.width < window || planeA.height < window) return 1;
    constexpr double c1 = 0.01 * 255 * 0.01 * 255, c2 = 0.03 * 255 * 0.03 * 255;
    const cv::Mat1d a = samplesOf(planeA), b = samplesOf(planeB), meanA = means(a), meanB = means(b);
    const cv::Mat1d squares = meanA.mul(meanA) + meanB.mul(meanB), product = meanA.mul(meanB);
    const cv::Mat1d variances = means(a.mul(a) + b.mul(b)) - squares, covariance = means(a.mul(b)) - product;
    const cv::Mat1d similar =
        (2 * product + c1).mul(2 * covariance + c2) / (squares + c1).mul(variances + c2);
    return cv::mean(similar)[0];
}

Similarity similarity(const platform::PixelBuffer& a, const platform::PixelBuffer& b) {
    return {ssim(a.plane(0), b.plane(0)),
            std::min(ssim(a.plane(1), b.plane(1)), ssim(a.plane(2), b.plane(2)))};
}

}  // namespace fidelity

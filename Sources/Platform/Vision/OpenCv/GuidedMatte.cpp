#include "Platform/Vision/OpenCv/GuidedMatte.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include <opencv2/imgproc.hpp>

namespace platform {

cv::Mat1f guidedMatte(const cv::Mat1b& mask, const cv::Mat3b& coarse, const cv::Mat3b& fine, int radius,
                      float epsilon) {
    const cv::Size size = mask.size();
    const cv::Size window(2 * radius + 1, 2 * radius + 1);
    // Color, mask, and their products, in one picture so that one box filter serves them all; of whole
    // numbers, which it adds up twice as fast.
    constexpr int moments = 13;
    cv::Mat products(size, CV_16UC(moments)), means;
    for (int y = 0; y < size.height; ++y) {
        auto* out = products.ptr<std::uint16_t>(y);
        const uchar *c = coarse.ptr(y), *m = mask[y];
        for (int x = 0; x < size.width; ++x, c += 3, out += moments) {
            const unsigned b = c[0], g = c[1], r = c[2], p = m[x];
            out[0] = static_cast<std::uint16_t>(b);
            out[1] = static_cast<std::uint16_t>(g);
            out[2] = static_cast<std::uint16_t>(r);
            out[3] = static_cast<std::uint16_t>(p);
            out[4] = static_cast<std::uint16_t>(b * p);
            out[5] = static_cast<std::uint16_t>(g * p);
            out[6] = static_cast<std::uint16_t>(r * p);
            out[7] = static_cast<std::uint16_t>(b * b);
            out[8] = static_cast<std::uint16_t>(b * g);
            out[9] = static_cast<std::uint16_t>(b * r);
            out[10] = static_cast<std::uint16_t>(g * g);
            out[11] = static_cast<std::uint16_t>(g * r);
            out[12] = static_cast<std::uint16_t>(r * r);
        }
    }
    cv::boxFilter(products, means, CV_32F, window, {-1, -1}, true, cv::BORDER_REPLICATE);
    cv::Mat4f line(size);
    for (int y = 0; y < size.height; ++y) {
        const auto* m = means.ptr<float>(y);
        for (int x = 0; x < size.width; ++x, m += moments) {
            constexpr float one = 1.0F / 255, two = one * one;
            const float b = m[0] * one, g = m[1] * one, r = m[2] * one, p = m[3] * one;
            const float v0 = m[7] * two - b * b + epsilon, v1 = m[8] * two - b * g, v2 = m[9] * two - b * r;
            const float v3 = m[10] * two - g * g + epsilon, v4 = m[11] * two - g * r;
            const float v5 = m[12] * two - r * r + epsilon;
            const float c0 = m[4] * two - b * p, c1 = m[5] * two - g * p, c2 = m[6] * two - r * p;
            const float i00 = v3 * v5 - v4 * v4, i01 = v2 * v4 - v1 * v5, i02 = v1 * v4 - v2 * v3;
            const float i11 = v0 * v5 - v2 * v2, i12 = v1 * v2 - v0 * v4, i22 = v0 * v3 - v1 * v1;
            const float scale = 1 / (v0 * i00 + v1 * i01 + v2 * i02);
            const float a0 = (i00 * c0 + i01 * c1 + i02 * c2) * scale;
            const float a1 = (i01 * c0 + i11 * c1 + i12 * c2) * scale;
            const float a2 = (i02 * c0 + i12 * c1 + i22 * c2) * scale;
            line(y, x) = {a0, a1, a2, p - a0 * b - a1 * g - a2 * r};
        }
    }
    cv::boxFilter(line, line, -1, window, {-1, -1}, true, cv::BORDER_REPLICATE);
    cv::Mat4f fineLine;
    cv::resize(line, fineLine, fine.size(), 0, 0, cv::INTER_LINEAR);
    cv::Mat1f matte(fine.size());
    for (int y = 0; y < fine.rows; ++y)
        for (int x = 0; x < fine.cols; ++x) {
            const cv::Vec4f& l = fineLine(y, x);
            const cv::Vec3b& c = fine(y, x);
            const float value = (l[0] * c[0] + l[1] * c[1] + l[2] * c[2]) * (1.0F / 255) + l[3];
            matte(y, x) = std::clamp(value, 0.0F, 1.0F);
        }
    return matte;
}

}  // namespace platform

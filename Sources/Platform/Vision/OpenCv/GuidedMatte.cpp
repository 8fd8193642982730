#include "Platform/Vision/OpenCv/GuidedMatte.hpp"

#include <opencv2/imgproc.hpp>

namespace platform {

cv::Mat1f guidedMatte(const cv::Mat1b& mask, const cv::Mat3f& coarse, const cv::Mat3b& fine, int radius,
                      float epsilon) {
    const cv::Size size = mask.size();
    const cv::Size window(2 * radius + 1, 2 * radius + 1);
    // Nine moments, in one picture so that one box filter serves them all: color, mask, their products.
    cv::Mat moments(size, CV_32FC(13));
    for (int y = 0; y < size.height; ++y) {
        auto* out = moments.ptr<float>(y);
        for (int x = 0; x < size.width; ++x, out += 13) {
            const cv::Vec3f c = coarse(y, x) * (1.0F / 255);
            const float p = mask(y, x) * (1.0F / 255);
            out[0] = c[0];
            out[1] = c[1];
            out[2] = c[2];
            out[3] = p;
            for (int i = 0; i < 3; ++i) out[4 + i] = c[i] * p;
            out[7] = c[0] * c[0];
            out[8] = c[0] * c[1];
            out[9] = c[0] * c[2];
            out[10] = c[1] * c[1];
            out[11] = c[1] * c[2];
            out[12] = c[2] * c[2];
        }
    }
    cv::boxFilter(moments, moments, -1, window, {-1, -1}, true, cv::BORDER_REPLICATE);
    cv::Mat4f line(size);
    for (int y = 0; y < size.height; ++y) {
        const auto* m = moments.ptr<float>(y);
        for (int x = 0; x < size.width; ++x, m += 13) {
            const float b = m[0], g = m[1], r = m[2], p = m[3];
            const float v0 = m[7] - b * b + epsilon, v1 = m[8] - b * g, v2 = m[9] - b * r;
            const float v3 = m[10] - g * g + epsilon, v4 = m[11] - g * r, v5 = m[12] - r * r + epsilon;
            const float c0 = m[4] - b * p, c1 = m[5] - g * p, c2 = m[6] - r * p;
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

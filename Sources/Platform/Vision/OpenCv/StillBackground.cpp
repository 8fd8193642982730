#include "Platform/Vision/OpenCv/StillBackground.hpp"

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

/// Frames a pixel's mean is taken over at most; older light fades out.
constexpr float longestMemory = 60;
/// Frames after which a pixel's background counts half.
constexpr float halfKnown = 1;
/// A familiar pixel's noise is never believed below this (of 255): soft shadows stay background.
constexpr float leastDeviation = 4;
constexpr float mostEvidence = 5.5F;

}  // namespace

void StillBackground::reset(cv::Size size) {
    mean_ = cv::Mat3f(size, cv::Vec3f(0, 0, 0));
    expected_ = mean_.clone();
    variance_ = cv::Mat1f(size, 36.0F);
    count_ = cv::Mat1f(size, 0.0F);
    gain_ = {1, 1, 1};
    lift_ = {0, 0, 0};
}

double StillBackground::knownShare() const {
    return cv::countNonZero(count_ > 3) / static_cast<double>(count_.total());
}

void StillBackground::compare(const cv::Mat3f& picture, const cv::Mat1b& person, cv::Mat1f& evidence) {
    // Least squares of seen = gain × learnt + lift per channel over the pixels that agree so far, held
    // back a little towards what it was.
    for (int round = 0; round < 2; ++round) {
        double n = 0, sx[3] = {}, sy[3] = {}, sxx[3] = {}, sxy[3] = {};
        const float agree = round == 0 ? 32 : 14;
        for (int y = 0; y < picture.rows; y += 2) {
            const cv::Vec3f *seen = picture[y], *learnt = mean_[y];
            const float* known = count_[y];
            const uchar* covered = person[y];
            for (int x = 0; x < picture.cols; x += 2) {
                if (covered[x] || known[x] < 2) continue;
                float worst = 0;
                for (int c = 0; c < 3; ++c)
                    worst = std::max(worst, std::abs(seen[x][c] - gain_[c] * learnt[x][c] - lift_[c]));
                if (worst > agree) continue;
                n += 1;
                for (int c = 0; c < 3; ++c) {
                    sx[c] += learnt[x][c];
                    sy[c] += seen[x][c];
                    sxx[c] += learnt[x][c] * learnt[x][c];
                    sxy[c] += learnt[x][c] * seen[x][c];
                }
            }
        }
        if (n < 40) break;
        for (int c = 0; c < 3; ++c) {
            const double mx = sx[c] / n, my = sy[c] / n, spread = sxx[c] / n - mx * mx,
                         joint = sxy[c] / n - mx * my;
            const double hold = 30;
            const double gain = std::clamp((joint + hold * gain_[c]) / (spread + hold), 0.3, 3.0);
            gain_[c] = static_cast<float>(gain);
            lift_[c] = static_cast<float>(my - gain * mx);
        }
    }

    evidence.create(picture.size());
    for (int y = 0; y < picture.rows; ++y) {
        const cv::Vec3f *seen = picture[y], *learnt = mean_[y];
        cv::Vec3f* now = expected_[y];
        const float *known = count_[y], *variance = variance_[y];
        float* out = evidence[y];
        for (int x = 0; x < picture.cols; ++x) {
            float off = 0;
            for (int c = 0; c < 3; ++c) {
                now[x][c] = gain_[c] * learnt[x][c] + lift_[c];
                const float d = seen[x][c] - now[x][c];
                off += d * d;
            }
            const float v = std::max(variance[x] * 1.5F, leastDeviation * leastDeviation);
            // A restless pixel (v large) says little when it matches.
            const float match =
                std::clamp(3.0F - 1.2F * std::log(v / (leastDeviation * leastDeviation)), 0.6F, 3.0F);
            const float trust = known[x] / (known[x] + halfKnown);
            out[x] = trust * std::clamp(0.5F * off / v - match, -match, mostEvidence);
        }
    }
}

void StillBackground::learn(const cv::Mat3f& picture, const cv::Mat1b& free) {
    for (int y = 0; y < picture.rows; ++y) {
        const cv::Vec3f* seen = picture[y];
        cv::Vec3f* learnt = mean_[y];
        const uchar* may = free[y];
        float *known = count_[y], *variance = variance_[y];
        for (int x = 0; x < picture.cols; ++x) {
            if (!may[x]) continue;
            known[x] = std::min(known[x] + 1, longestMemory);
            const float rate = 1 / known[x];
            float off = 0;
            for (int c = 0; c < 3; ++c) {
                // Kept as if the exposure were that of the first frame.
                const float neutral = (seen[x][c] - lift_[c]) / gain_[c];
                const float d = neutral - learnt[x][c];
                learnt[x][c] += rate * d;
                off += d * d;
            }
            if (known[x] > 1) variance[x] += std::max(rate, 0.05F) * (off / 3 - variance[x]);
        }
    }
}

}  // namespace platform

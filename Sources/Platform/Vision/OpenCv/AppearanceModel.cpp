#include "Platform/Vision/OpenCv/AppearanceModel.hpp"

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

/// Least variance of lightness, the colour axes and place: noise, and blobs of some width.
constexpr std::array<float, AppearanceModel::dimensions> leastVariance = {36, 14, 14, 16, 16};
/// The energy of a look that no blob explains.
constexpr float unlike = 26;
constexpr float noBlob = 1e6F;

}  // namespace

void AppearanceModel::fit(const std::vector<Feature>& samples) {
    known_ = false;
    if (samples.size() < 4 * blobCount) return;
    cv::Mat points(static_cast<int>(samples.size()), dimensions, CV_32F);
    for (int i = 0; i < points.rows; ++i)
        std::copy_n(samples[static_cast<std::size_t>(i)].data(), dimensions, points.ptr<float>(i));
    cv::Mat labels;
    cv::theRNG().state = 20240;  // the same frames give the same mask
    cv::kmeans(points, blobCount, labels, {cv::TermCriteria::COUNT, 6, 0}, 1, cv::KMEANS_PP_CENTERS);
    const std::vector<int> nearest(labels.begin<int>(), labels.end<int>());
    estimate(samples, nearest, 1);
    known_ = true;
}

void AppearanceModel::follow(const std::vector<Feature>& samples, float share) {
    if (samples.size() < 4 * blobCount) return;
    if (!known_) {
        fit(samples);
        return;
    }
    std::vector<int> nearest;
    assign(samples, nearest);
    estimate(samples, nearest, share);
}

void AppearanceModel::assign(const std::vector<Feature>& samples, std::vector<int>& nearest) const {
    nearest.resize(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::array<float, blobCount> e = offset_;
        for (std::size_t d = 0; d < dimensions; ++d)
            for (std::size_t k = 0; k < blobCount; ++k) {
                const float off = samples[i][d] - mean_[d][k];
                e[k] += off * off * precision_[d][k];
            }
        nearest[i] = static_cast<int>(std::min_element(e.begin(), e.end()) - e.begin());
    }
}

void AppearanceModel::estimate(const std::vector<Feature>& samples, const std::vector<int>& nearest,
                               float share) {
    std::array<float, blobCount> n{};
    std::array<std::array<float, blobCount>, dimensions> sum{}, squares{};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto k = static_cast<std::size_t>(nearest[i]);
        n[k] += 1;
        for (std::size_t d = 0; d < dimensions; ++d) {
            sum[d][k] += samples[i][d];
            squares[d][k] += samples[i][d] * samples[i][d];
        }
    }
    for (std::size_t k = 0; k < blobCount; ++k) {
        const float present = n[k] / static_cast<float>(samples.size());
        weight_[k] += share * (present - weight_[k]);
        float logVolume = 0;
        for (std::size_t d = 0; d < dimensions; ++d) {
            if (n[k] > 2) {
                const float mean = sum[d][k] / n[k];
                const float variance = squares[d][k] / n[k] - mean * mean + leastVariance[d];
                mean_[d][k] += share * (mean - mean_[d][k]);
                variance_[d][k] += share * (variance - variance_[d][k]);
            }
            variance_[d][k] = std::max(variance_[d][k], leastVariance[d]);
            precision_[d][k] = 0.5F / variance_[d][k];
            logVolume += 0.5F * std::log(variance_[d][k]);
        }
        offset_[k] = weight_[k] > 1e-3F ? logVolume - std::log(weight_[k]) : noBlob;
    }
}

float AppearanceModel::energy(const Feature& feature) const {
    std::array<float, blobCount> e = offset_;
    for (std::size_t d = 0; d < dimensions; ++d)
        for (std::size_t k = 0; k < blobCount; ++k) {
            const float off = feature[d] - mean_[d][k];
            e[k] += off * off * precision_[d][k];
        }
    float least = unlike;
    for (const float value : e) least = std::min(least, value);
    return least;
}

float AppearanceModel::colourDistance(const Feature& feature) const {
    std::array<float, blobCount> e;
    for (std::size_t k = 0; k < blobCount; ++k) e[k] = weight_[k] > 1e-3F ? 0 : noBlob;
    for (std::size_t d = 0; d < colours; ++d)
        for (std::size_t k = 0; k < blobCount; ++k) {
            const float off = feature[d] - mean_[d][k];
            e[k] += off * off * precision_[d][k];
        }
    return *std::min_element(e.begin(), e.end());
}

}  // namespace platform

#pragma once

#include <array>
#include <vector>

#include <opencv2/core.hpp>

namespace platform {

/// What a thing looks like and where: a mixture of blobs in lightness, two colour axes and place.
class AppearanceModel {
  public:
    static constexpr int dimensions = 5;
    static constexpr int colours = 3;  ///< of them; the rest is place
    static constexpr int blobCount = 16;
    using Feature = std::array<float, dimensions>;

    /// Learns anew from `samples`. With fewer than a handful the model stays unknown.
    void fit(const std::vector<Feature>& samples);
    /// Follows: one round from the present blobs, moved towards `samples` by `share` (0…1).
    void follow(const std::vector<Feature>& samples, float share);
    /// Minus log likelihood, bounded so that an unseen look says "unlike" and not "impossible".
    float energy(const Feature& feature) const;
    /// How unlike every blob the colour alone is: half a squared distance in standard deviations.
    float colourDistance(const Feature& feature) const;
    bool known() const { return known_; }

  private:
    void assign(const std::vector<Feature>& samples, std::vector<int>& nearest) const;
    void estimate(const std::vector<Feature>& samples, const std::vector<int>& nearest, float share);

    bool known_ = false;
    // One row a dimension, so that a pixel is compared with all blobs side by side.
    std::array<std::array<float, blobCount>, dimensions> mean_{};
    std::array<std::array<float, blobCount>, dimensions> variance_{};
    std::array<std::array<float, blobCount>, dimensions> precision_{};
    std::array<float, blobCount> weight_{};
    std::array<float, blobCount> offset_{};
};

}  // namespace platform

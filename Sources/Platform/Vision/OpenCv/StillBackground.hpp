#pragma once

#include <opencv2/core.hpp>

namespace platform {

/// What the room looks like without the person, learnt pixel by pixel wherever the person is not, and
/// compared under the camera's present exposure.
class StillBackground {
  public:
    void reset(cv::Size size);

    /// Finds how exposure and white balance changed since the background was learnt; only pixels
    /// outside `person` (non-zero = person or near it) are asked. Then fills `evidence` (log odds
    /// that a pixel is not background, 0 where nothing is known) for `picture`.
    void compare(const cv::Mat3f& picture, const cv::Mat1b& person, cv::Mat1f& evidence);
    /// Learns from the pixels where `free` is non-zero. Call after `compare` with the same picture.
    void learn(const cv::Mat3f& picture, const cv::Mat1b& free);

    /// Takes back what was learnt where `area` is non-zero.
    void forget(const cv::Mat1b& area) { count_.setTo(0, area); }

    /// Frames from which each pixel was learnt (as many as still count).
    const cv::Mat1f& familiarity() const { return count_; }
    /// The background as the camera would show it now; meaningful where familiar. After `compare`.
    const cv::Mat3f& expected() const { return expected_; }
    /// Share of the frame whose background is known.
    double knownShare() const;

  private:
    cv::Mat3f mean_;
    cv::Mat1f variance_;
    cv::Mat1f count_;
    cv::Mat3f expected_;
    cv::Vec3f gain_{1, 1, 1};
    cv::Vec3f lift_{0, 0, 0};
};

}  // namespace platform

#pragma once

#include <cmath>
#include <random>
#include <vector>

#include <opencv2/imgproc.hpp>

/// Small drawing helpers shared by the rendered rooms and people. Colors are blue, green, red, 0…255.
namespace cobaltreel::rendered {

using Random = std::mt19937;

inline double uniform(Random& random, double low, double high) {
    return low + (high - low) * std::generate_canonical<double, 32>(random);
}

inline int choice(Random& random, int count) {
    return static_cast<int>(random() % static_cast<unsigned>(count));
}

inline cv::Scalar randomColor(Random& random, double low = 20, double high = 235) {
    return {uniform(random, low, high), uniform(random, low, high), uniform(random, low, high)};
}

inline cv::Scalar scaled(const cv::Scalar& color, double factor) {
    const auto clamp = [&](double v) { return std::min(255.0, v * factor); };
    return {clamp(color[0]), clamp(color[1]), clamp(color[2])};
}

/// A closed outline through `corners` with its corners rounded off.
std::vector<cv::Point2d> smoothOutline(std::vector<cv::Point2d> corners, int rounds = 3);

/// A layer of a person: 8-bit color and how much of each pixel it covers.
struct Sprite {
    cv::Mat3b color;
    cv::Mat1b cover;

    explicit Sprite(cv::Size size) : color(size, cv::Vec3b(0, 0, 0)), cover(size, uchar(0)) {}

    /// Paints an anti-aliased solid shape and adds it to the cover.
    void fill(const std::vector<cv::Point2d>& outline, const cv::Scalar& paint);
    void fillEllipse(cv::Point2d centre, cv::Size2d axes, double degrees, const cv::Scalar& paint);
    /// Tints what is already there through a soft-edged ellipse; the cover stays as it is.
    void tint(cv::Point2d centre, cv::Size2d axes, double degrees, const cv::Scalar& paint, double strength,
              double softness);
    void tintOutline(const std::vector<cv::Point2d>& outline, const cv::Scalar& paint, double strength,
                     double softness);
};

/// Widens `cover` by what `more` covers.
void addCover(cv::Mat1b& cover, const cv::Mat1b& more);

/// Lays `picture` where `cover` (0…255) says over `onto`.
void blend(cv::Mat3b& onto, const cv::Mat3b& picture, const cv::Mat1b& cover);

}  // namespace cobaltreel::rendered

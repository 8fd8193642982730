#include "Platform/Vision/OpenCv/BodyPrior.hpp"

#include <cmath>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// Paints shapes given in sides of the face box, centred on it, into a mask.
class Figure {
  public:
    Figure(const Head& head, cv::Size size)
        : mask(size, uchar(0)),
          centre_(head.x * static_cast<float>(size.width), head.y * static_cast<float>(size.width)),
          side_(head.size * static_cast<float>(size.width)) {}

    void ellipse(float y, float halfWidth, float halfHeight) {
        cv::ellipse(mask,
                    {cv::Point2f(centre_.x, centre_.y + y * side_),
                     cv::Size2f(2 * halfWidth * side_, 2 * halfHeight * side_), 0},
                    cv::Scalar(255), -1);
    }
    /// A symmetric outline: (half width, y) from the top down; reaches below the frame.
    void column(const std::vector<cv::Point2f>& rightSide) {
        std::vector<cv::Point> outline;
        for (const auto& p : rightSide)
            outline.emplace_back(cvRound(centre_.x + p.x * side_), cvRound(centre_.y + p.y * side_));
        for (auto p = rightSide.rbegin(); p != rightSide.rend(); ++p)
            outline.emplace_back(cvRound(centre_.x - p->x * side_), cvRound(centre_.y + p->y * side_));
        cv::fillPoly(mask, std::vector{outline}, cv::Scalar(255));
    }

    cv::Mat1b mask;

  private:
    cv::Point2f centre_;
    float side_;
};

constexpr float below = 20;  // beyond the bottom of any frame, in sides of the face box

cv::Mat1f distanceInside(const cv::Mat1b& mask) {
    cv::Mat1f distance;
    cv::distanceTransform(mask, distance, cv::DIST_L2, 3);
    return distance;
}

}  // namespace

BodyPrior::BodyPrior(const Head& head, cv::Size size) {
    Figure sure(head, size), usual(head, size), widest(head, size);
    sure.ellipse(0.02F, 0.34F, 0.46F);
    sure.column({{0.16F, 0.3F}, {0.17F, 0.85F}, {0.45F, 1.15F}, {0.68F, 1.6F}, {0.72F, below}});
    usual.ellipse(-0.10F, 0.47F, 0.70F);
    usual.column({{0.28F, 0.3F},
                  {0.30F, 0.72F},
                  {0.78F, 0.92F},
                  {1.12F, 1.2F},
                  {1.25F, 1.9F},
                  {1.32F, 3.0F},
                  {1.32F, below}});
    widest.ellipse(-0.15F, 0.95F, 1.15F);
    widest.column(
        {{0.75F, 0.0F}, {0.85F, 0.55F}, {1.35F, 0.65F}, {1.75F, 1.0F}, {2.1F, 2.0F}, {2.3F, below}});
    core = sure.mask;
    reach = widest.mask;

    const float side = head.size * static_cast<float>(size.width);
    const cv::Mat1f inside = distanceInside(usual.mask), outside = distanceInside(255 - usual.mask);
    odds.create(size);
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const float signedDistance = (inside(y, x) - outside(y, x)) / side;
            float value = std::tanh(signedDistance * 3.2F) * 2.6F;
            if (!reach(y, x)) value -= 2;
            if (core(y, x)) value += 6;
            odds(y, x) = value;
        }
}

}  // namespace platform

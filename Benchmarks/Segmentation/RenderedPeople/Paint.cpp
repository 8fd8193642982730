#include "RenderedPeople/Paint.hpp"

namespace cobaltreel::rendered {
namespace {

constexpr int fractionBits = 4;

std::vector<cv::Point> fixedPoint(const std::vector<cv::Point2d>& outline, cv::Point origin) {
    std::vector<cv::Point> points;
    points.reserve(outline.size());
    for (const auto& p : outline)
        points.emplace_back(cvRound((p.x - origin.x) * 16), cvRound((p.y - origin.y) * 16));
    return points;
}

std::vector<cv::Point2d> ellipseOutline(cv::Point2d centre, cv::Size2d axes, double degrees) {
    std::vector<cv::Point2d> outline;
    const double turn = degrees * CV_PI / 180;
    for (int i = 0; i < 64; ++i) {
        const double t = i * 2 * CV_PI / 64, x = axes.width * std::cos(t), y = axes.height * std::sin(t);
        outline.emplace_back(centre.x + x * std::cos(turn) - y * std::sin(turn),
                             centre.y + x * std::sin(turn) + y * std::cos(turn));
    }
    return outline;
}

cv::Rect around(const std::vector<cv::Point2d>& outline, double margin, cv::Size limit) {
    std::vector<cv::Point2f> points(outline.begin(), outline.end());
    cv::Rect box = cv::boundingRect(points);
    const int grow = static_cast<int>(std::ceil(margin)) + 2;
    box = cv::Rect(box.x - grow, box.y - grow, box.width + 2 * grow, box.height + 2 * grow);
    return box & cv::Rect({0, 0}, limit);
}

/// A Gaussian blur; a wide one at a size where it is narrow, which looks the same and costs little.
void soften(cv::Mat1b& weight, double deviation) {
    if (deviation <= 0) return;
    const double shrink = std::max(1.0, deviation / 4);
    if (shrink < 2) {
        cv::GaussianBlur(weight, weight, {}, deviation);
        return;
    }
    cv::Mat small;
    cv::resize(weight, small, {}, 1 / shrink, 1 / shrink, cv::INTER_AREA);
    cv::GaussianBlur(small, small, {}, deviation / shrink);
    cv::resize(small, weight, weight.size(), 0, 0, cv::INTER_LINEAR);
}

void layIn(cv::Mat3b region, const cv::Mat1b& weight, const cv::Scalar& paint, double strength) {
    for (int y = 0; y < region.rows; ++y) {
        for (int x = 0; x < region.cols; ++x) {
            const double w = weight(y, x) / 255.0 * strength;
            if (w <= 0) continue;
            for (int c = 0; c < 3; ++c)
                region(y, x)[c] = cv::saturate_cast<uchar>(region(y, x)[c] * (1 - w) + paint[c] * w);
        }
    }
}

}  // namespace

std::vector<cv::Point2d> smoothOutline(std::vector<cv::Point2d> corners, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        std::vector<cv::Point2d> finer;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const auto &a = corners[i], &b = corners[(i + 1) % corners.size()];
            finer.push_back(a * 0.75 + b * 0.25);
            finer.push_back(a * 0.25 + b * 0.75);
        }
        corners = std::move(finer);
    }
    return corners;
}

void Sprite::fill(const std::vector<cv::Point2d>& outline, const cv::Scalar& paint) {
    const cv::Rect box = around(outline, 1, color.size());
    if (box.empty()) return;
    cv::Mat1b weight(box.size(), uchar(0));
    const auto points = fixedPoint(outline, box.tl());
    cv::fillPoly(weight, std::vector{points}, cv::Scalar(255), cv::LINE_AA, fractionBits);
    // Where nothing was painted yet the color goes under the soft edge in full.
    cv::Mat1b covered = cover(box);
    cv::Mat3b region = color(box);
    for (int y = 0; y < box.height; ++y)
        for (int x = 0; x < box.width; ++x)
            if (weight(y, x) && !covered(y, x))
                region(y, x) =
                    cv::Vec3b(cv::saturate_cast<uchar>(paint[0]), cv::saturate_cast<uchar>(paint[1]),
                              cv::saturate_cast<uchar>(paint[2]));
    layIn(region, weight, paint, 1);
    addCover(covered, weight);
}

void Sprite::fillEllipse(cv::Point2d centre, cv::Size2d axes, double degrees, const cv::Scalar& paint) {
    fill(ellipseOutline(centre, axes, degrees), paint);
}

void Sprite::tint(cv::Point2d centre, cv::Size2d axes, double degrees, const cv::Scalar& paint,
                  double strength, double softness) {
    tintOutline(ellipseOutline(centre, axes, degrees), paint, strength, softness);
}

void Sprite::tintOutline(const std::vector<cv::Point2d>& outline, const cv::Scalar& paint, double strength,
                         double softness) {
    const cv::Rect box = around(outline, softness * 3, color.size());
    if (box.empty()) return;
    cv::Mat1b weight(box.size(), uchar(0));
    cv::fillPoly(weight, std::vector{fixedPoint(outline, box.tl())}, cv::Scalar(255), cv::LINE_AA,
                 fractionBits);
    soften(weight, softness);
    layIn(color(box), weight, paint, strength);
}

void addCover(cv::Mat1b& cover, const cv::Mat1b& more) {
    cv::Mat& target = cover;
    const cv::Mat& addition = more;
    cv::max(target, addition, target);
}

void blend(cv::Mat3b& onto, const cv::Mat3b& picture, const cv::Mat1b& cover) {
    for (int y = 0; y < onto.rows; ++y) {
        const uchar* weights = cover[y];
        cv::Vec3b* below = onto[y];
        const cv::Vec3b* above = picture[y];
        for (int x = 0; x < onto.cols; ++x) {
            const int w = weights[x];
            if (w == 0) continue;
            for (int c = 0; c < 3; ++c)
                below[x][c] = static_cast<uchar>((below[x][c] * (255 - w) + above[x][c] * w + 127) / 255);
        }
    }
}

}  // namespace cobaltreel::rendered

#include "Platform/Vision/OpenCv/PersonPieces.hpp"

#include <algorithm>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// Where the network rather sees somebody; a little above the middle, or pieces of the room stay beside
/// shoulders.
constexpr float somebody = 0.55F;
/// From this part of the largest piece on another one is somebody of its own; a smaller one is a scrap,
/// or somebody in the background.
constexpr double minOwnPiece = 0.5;
constexpr double ownConfidence = 0.6;
/// Or else a hand, which the network is sure of: its part of the largest piece, and the width of the gap
/// to it in parts of the picture's width. A larger one is somebody behind, unless hardly anything parts it.
constexpr double minHand = 0.02, largestHand = 0.15, handConfidence = 0.8, handReach = 0.08, crack = 0.02;
/// Holes up to this part of the frame are the network's doubts, not gaps between arm and body.
constexpr double largestHole = 0.003;

struct Piece {
    int area;
    double confidence;
};

std::vector<Piece> measure(const cv::Mat1f& probability, const cv::Mat1i& labels, int count) {
    std::vector<Piece> pieces(static_cast<std::size_t>(count), Piece{0, 0});
    for (int y = 0; y < labels.rows; ++y)
        for (int x = 0; x < labels.cols; ++x) {
            Piece& piece = pieces[static_cast<std::size_t>(labels(y, x))];
            ++piece.area;
            piece.confidence += probability(y, x);
        }
    for (Piece& piece : pieces) piece.confidence /= std::max(1, piece.area);
    return pieces;
}

/// In `solid`, a part of a picture of so many pixels beside which nobody is.
void fillHoles(cv::Mat1b& solid, double pixels) {
    cv::Mat1i labels;
    cv::Mat stats, centres;
    const int count = cv::connectedComponentsWithStats(solid == 0, labels, stats, centres, 4, CV_32S);
    for (int i = 1; i < count; ++i) {
        const int* s = stats.ptr<int>(i);
        const cv::Rect box(s[cv::CC_STAT_LEFT], s[cv::CC_STAT_TOP], s[cv::CC_STAT_WIDTH],
                           s[cv::CC_STAT_HEIGHT]);
        const bool inside = box.x > 0 && box.y > 0 && box.br().x < solid.cols && box.br().y < solid.rows;
        if (inside && s[cv::CC_STAT_AREA] < largestHole * pixels) solid(box).setTo(255, labels(box) == i);
    }
}

}  // namespace

PersonPieces findPerson(const cv::Mat1f& probability) {
    PersonPieces person{cv::Mat1b(probability.size(), uchar(0))};
    const cv::Mat1b likely = probability > somebody;
    const cv::Rect box = cv::boundingRect(likely);
    if (box.empty()) return person;
    const auto pixels = static_cast<double>(probability.total());
    cv::Mat1b solid = person.solid(box);
    cv::Mat1i labels;
    const int count = cv::connectedComponents(likely(box), labels, 4, CV_32S);
    const auto pieces = measure(probability(box), labels, count);
    const auto largest = std::max_element(pieces.begin() + 1, pieces.end(),
                                          [](const Piece& a, const Piece& b) { return a.area < b.area; });
    const int main = static_cast<int>(largest - pieces.begin());
    solid.setTo(255, labels == main);
    person.area = largest->area / pixels;
    person.confidence = largest->confidence;

    cv::Mat1f distance;
    if (count > 2) cv::distanceTransform(solid == 0, distance, cv::DIST_L2, 3);
    for (int i = 1; i < count; ++i) {
        const Piece& piece = pieces[static_cast<std::size_t>(i)];
        const double part = static_cast<double>(piece.area) / largest->area;
        if (i == main || part < minHand) continue;
        bool counts = part >= minOwnPiece && piece.confidence >= ownConfidence;
        if (!counts && piece.confidence >= handConfidence) {
            double gap = 0;
            cv::minMaxLoc(distance, &gap, nullptr, nullptr, nullptr, labels == i);
            counts = gap <= (part <= largestHand ? handReach : crack) * probability.cols;
        }
        if (counts) solid.setTo(255, labels == i);
    }
    fillHoles(solid, pixels);
    return person;
}

}  // namespace platform

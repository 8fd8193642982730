#include "Platform/Vision/OpenCv/PersonPresence.hpp"

#include <algorithm>

namespace platform {
namespace {

/// What somebody has at least, to be believed and to stay: part of the frame, the network's confidence.
constexpr double areaToAppear = 0.015, confidenceToAppear = 0.72, areaToStay = 0.004, confidenceToStay = 0.6;
/// From here on nothing else is asked. Between the two are people in the dark or half hidden, and plants,
/// chairs and books: those do not move.
constexpr double beyondDoubt = 0.93;

/// The part of somebody that is still theirs a frame later.
constexpr double leastCommon = 0.4;
/// A thing that stood behind somebody lies in their place and is all new, in a room that is not.
constexpr double mostInPlace = 0.9, mostNew = 0.7, mostNewInRoom = 0.3;

/// The part of somebody that moves in one frame, and how much less of everything else does.
constexpr double leastMoving = 0.005, roomsShare = 0.5;
/// Two frames of movement are enough, if there are less than ten without between them.
constexpr int oneMovement = 10, enough = 2 * oneMovement - 9;

/// Which part of what was found has changed, and of the room around it.
struct Change {
    double person = 0, room = 0;
};

Change changeIn(const cv::Mat1b& solid, const cv::Mat1b& changed) {
    const int person = cv::countNonZero(solid), room = static_cast<int>(solid.total()) - person;
    if (changed.size() != solid.size()) return {};
    const cv::Mat1b moving = changed > 127;
    const int both = cv::countNonZero(moving), within = cv::countNonZero(moving & solid);
    return {static_cast<double>(within) / std::max(1, person),
            static_cast<double>(both - within) / std::max(1, room)};
}

bool touchesSide(const cv::Mat1b& solid) {
    return cv::countNonZero(solid.col(0)) > 0 || cv::countNonZero(solid.col(solid.cols - 1)) > 0;
}

}  // namespace

bool PersonPresence::judge(const PersonPieces& found, const cv::Mat1b& changed) {
    const Change change = changeIn(found.solid, changed);
    const double before = last_.size() == found.solid.size() ? cv::countNonZero(last_) : 0;
    const double common = before > 0 ? cv::countNonZero(last_ & found.solid) : 0;
    const bool replaced = common > mostInPlace * cv::countNonZero(found.solid) && change.person > mostNew &&
                          change.room < mostNewInRoom;
    const bool continues = before > 0 && common >= leastCommon * before && !replaced;
    const bool moves = change.person >= leastMoving && change.room <= roomsShare * change.person;
    if (!continues) moved_ = 0;
    // Somebody on their way in or out is all new, at the picture's side.
    const bool passes = moves && !replaced && change.person > mostNew && touchesSide(found.solid);
    moved_ = passes  ? 2 * oneMovement
             : moves ? std::min(moved_ + oneMovement, 2 * oneMovement)
                     : std::max(0, moved_ - 1);
    if (present_ && continues)
        present_ = found.area >= areaToStay && found.confidence >= confidenceToStay;
    else
        present_ =
            found.area >= areaToAppear &&
            (found.confidence >= beyondDoubt || (found.confidence >= confidenceToAppear && moved_ >= enough));
    sure_ = present_ && found.confidence >= beyondDoubt;
    seen_ = seen_ || present_;
    last_ = found.area > 0 ? found.solid : cv::Mat1b();
    return present_;
}

}  // namespace platform

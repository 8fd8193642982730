#include "Platform/Vision/OpenCv/PersonPresence.hpp"

#include "Platform/Vision/OpenCv/FrameChange.hpp"

#include <algorithm>

namespace platform {
namespace {

/// What somebody has at least, to be believed and to stay: part of the frame, the network's confidence.
constexpr double areaToAppear = 0.015, confidenceToAppear = 0.72, areaToStay = 0.004, confidenceToStay = 0.6;
/// From here on nothing else is asked, of somebody new and of somebody who is there. Below are people in the
/// dark or half hidden, and plants, chairs and books: those do not move.
constexpr double beyondDoubt = 0.94, stillBeyondDoubt = 0.93;

/// The part of somebody that is still theirs a frame later.
constexpr double leastCommon = 0.4;
/// A thing that stood behind somebody lies in their place and is all new, in a room that is not.
constexpr double maxInPlace = 0.9, mostNew = 0.7, mostNewInRoom = 0.3;

/// The part of somebody that moves in one frame, and how much less of everything else does.
constexpr double minMoving = 0.005, roomsShare = 0.5;
/// Two frames of movement are enough, if there are less than ten without between them.
constexpr int oneMovement = 10, enough = 2 * oneMovement - 9;

/// Nobody sits quite still for long: frames from which on a movement shows, however slow it is; and how many
/// of them may go by without any until a doubtful thing is nobody.
constexpr int slowMovement = 10, patience = 3 * slowMovement;

/// From this part of the frame on, all of it is another one.
constexpr double mostOfIt = 0.5;

/// Which part of what was found has changed, and of the room around it.
struct Change {
    double person = 0, room = 0;
};

Change changeIn(const cv::Mat1b& solid, const cv::Mat1b& changed) {
    const int person = cv::countNonZero(solid), room = static_cast<int>(solid.total()) - person;
    if (changed.size() != solid.size()) return {};
    const cv::Mat1b moves = changed > 127;
    const int both = cv::countNonZero(moves), within = cv::countNonZero(moves & solid);
    return {static_cast<double>(within) / std::max(1, person),
            static_cast<double>(both - within) / std::max(1, room)};
}

bool movesByItself(const Change& change) {
    return change.person >= minMoving && change.room <= roomsShare * change.person;
}

/// Whether `now` shows something else altogether, and not the same in another light.
bool isAnotherScene(const cv::Mat3b& before, const cv::Mat3b& now, const cv::Mat1b& changed) {
    const auto most = [&](const cv::Mat1b& change) {
        return cv::countNonZero(change > 127) > mostOfIt * static_cast<double>(change.total());
    };
    if (before.size() != now.size() || changed.empty() || !most(changed)) return false;
    const cv::Scalar was = cv::mean(before), is = cv::mean(now);
    cv::Mat3b inThisLight;
    cv::multiply(before, cv::Scalar(is[0] / (was[0] + 1), is[1] / (was[1] + 1), is[2] / (was[2] + 1)),
                 inThisLight);
    return most(changeBetween(inThisLight, now));
}

bool touchesSide(const cv::Mat1b& solid) {
    return cv::countNonZero(solid.col(0)) > 0 || cv::countNonZero(solid.col(solid.cols - 1)) > 0;
}

}  // namespace

bool PersonPresence::stirs(const PersonPieces& found, const cv::Mat3b& view) {
    if (++stillFrames_ < slowMovement && !stillView_.empty()) return false;
    const cv::Mat1b changed = changeBetween(stillView_, view);
    stillView_ = view;
    stillFrames_ = 0;
    return movesByItself(changeIn(found.solid, changed));
}

bool PersonPresence::judge(const PersonPieces& found, const cv::Mat3b& view, const cv::Mat1b& changed) {
    const Change change = changeIn(found.solid, changed);
    const double before = last_.size() == found.solid.size() ? cv::countNonZero(last_) : 0;
    const double common = before > 0 ? cv::countNonZero(last_ & found.solid) : 0;
    const bool replaced = common > maxInPlace * cv::countNonZero(found.solid) && change.person > mostNew &&
                          change.room < mostNewInRoom;
    const bool continues = before > 0 && common >= leastCommon * before && !replaced &&
                           !isAnotherScene(lastView_, view, changed);
    const bool moves = movesByItself(change);
    if (!continues) moved_ = 0;
    // Somebody on their way in or out is all new, at the picture's side.
    const bool passes = moves && !replaced && change.person > mostNew && touchesSide(found.solid);
    moved_ = passes  ? 2 * oneMovement
             : moves ? std::min(moved_ + oneMovement, 2 * oneMovement)
                     : std::max(0, moved_ - 1);
    const bool sure = found.area >= areaToAppear &&
                      found.confidence >= (present_ && continues ? stillBeyondDoubt : beyondDoubt);
    doubtfulFrames_ = stirs(found, view) || moves || sure ? 0 : doubtfulFrames_ + 1;
    if (present_ && continues)
        present_ =
            found.area >= areaToStay && found.confidence >= confidenceToStay && doubtfulFrames_ < patience;
    else
        present_ = sure ||
                   (found.area >= areaToAppear && found.confidence >= confidenceToAppear && moved_ >= enough);
    sure_ = present_ && sure;
    seen_ = seen_ || present_;
    last_ = found.area > 0 ? found.solid : cv::Mat1b();
    lastView_ = view;
    return present_;
}

}  // namespace platform

#include "Platform/Vision/OpenCv/PersonLooks.hpp"

#include "Platform/Vision/OpenCv/FramePicture.hpp"
#include "Platform/Vision/OpenCv/PersonPieces.hpp"

#include <algorithm>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

namespace platform {
namespace {

/// What a close look shows around the person: parts of their width, and of the frame's height.
constexpr double besides = 0.1, aboveAndBelow = 0.06;
/// It shows at least this part of the frame's sides, or it makes somebody of every scrap.
constexpr double minSide = 0.3;
/// It stays where it is until an edge of it is off by this part of the frame's sides, so that the border of
/// somebody still does not flicker.
constexpr double slack = 0.04;
/// How much wider than they are the network may see things in it: beyond that it loses hats.
constexpr double maxStretch = 1.5;

/// One answer out of two. A missing part of somebody is worse than a piece of the room too much.
cv::Mat1f agreed(const cv::Mat1f& first, const cv::Mat1f& second) {
    constexpr double trustInMore = 0.6;
    return cv::Mat(trustInMore * cv::max(first, second) + (1 - trustInMore) * cv::min(first, second));
}

/// A network made for the close look sees hair, caps and arms in the dark that the other misses.
cv::Mat1f weighed(const cv::Mat1f& whole, const cv::Mat1f& close) {
    constexpr double trustInClose = 0.65;
    return cv::Mat(trustInClose * close + (1 - trustInClose) * whole);
}

/// `both` where nothing has changed, `now` where everything has.
cv::Mat1f byChange(const cv::Mat1f& now, const cv::Mat1f& both, const cv::Mat1b& changed) {
    cv::Mat1f result(now.size());
    for (int y = 0; y < now.rows; ++y)
        for (int x = 0; x < now.cols; ++x)
            result(y, x) = both(y, x) + (now(y, x) - both(y, x)) * static_cast<float>(changed(y, x)) / 255;
    return result;
}

/// Whether where somebody was says nothing any more.
bool isAllNew(const cv::Mat1b& changed) {
    constexpr double mostOfIt = 0.5;
    return cv::countNonZero(changed > 127) > mostOfIt * static_cast<double>(changed.total());
}

/// Whether something moves where a close look at `place` would not see it, a hand perhaps.
bool movesOutside(const cv::Mat1b& changed, const cv::Rect& place) {
    constexpr double minMoving = 0.001;
    const int moving = cv::countNonZero(changed > 127), inside = cv::countNonZero(changed(place) > 127);
    return moving - inside > minMoving * static_cast<double>(changed.total());
}

/// From `low` to `high`, at least `least` long if `all` is.
void widen(int& low, int& high, int margin, int least, int all) {
    low -= margin;
    high += margin;
    if (const int missing = least - (high - low); missing > 0) {
        low -= missing / 2;
        high += missing - missing / 2;
    }
    low = std::max(0, low);
    high = std::min(all, high);
}

/// Where a close look at `person` goes.
cv::Rect around(const cv::Mat1b& person) {
    const cv::Rect box = cv::boundingRect(person);
    if (box.empty()) return {};
    int left = box.x, right = box.br().x, top = box.y, bottom = box.br().y;
    widen(left, right, cvRound(besides * box.width), cvRound(minSide * person.cols), person.cols);
    widen(top, bottom, cvRound(aboveAndBelow * person.rows), cvRound(minSide * person.rows), person.rows);
    return {left, top, right - left, bottom - top};
}

}  // namespace

cv::Mat1f PersonLooks::lookCloser(NeuralSegmentation& network, const cv::Mat3b& frame, const cv::Mat1b& lift,
                                  const cv::Mat1f& elsewhere) const {
    const double right = static_cast<double>(frame.cols) / elsewhere.cols,
                 down = static_cast<double>(frame.rows) / elsewhere.rows;
    const cv::Rect place(cv::Point(cvFloor(place_.x * right), cvFloor(place_.y * down)),
                         cv::Point(cvCeil(place_.br().x * right), cvCeil(place_.br().y * down)));
    cv::Mat3b part = frame(place & cv::Rect({}, frame.size()));
    // Beside somebody in an upright frame there is nothing to be seen.
    const double minAspect = network.input().aspectRatio() / maxStretch;
    const bool upright = frame.cols < minAspect * frame.rows;
    const int cols = part.cols, width = upright ? std::max(cols, cvRound(minAspect * part.rows)) : cols;
    const int left = (width - cols) / 2;
    if (width > cols) cv::copyMakeBorder(part, part, 0, 0, left, width - cols - left, cv::BORDER_REPLICATE);

    cv::Mat3b view = resized(part, network.input());
    cv::flip(lifted(view, lift), view, 1);
    cv::Mat1f answer = network.query(view), there, result = elsewhere.clone();
    cv::flip(answer, answer, 1);
    const double scale = static_cast<double>(answer.cols) / width;
    // Rounding may end it a hair beyond the last column.
    const int end = std::min(answer.cols, cvCeil((left + cols) * scale));
    cv::resize(answer.colRange(cvFloor(left * scale), end), there, place_.size(), 0, 0, cv::INTER_AREA);
    there.copyTo(result(place_));
    return result;
}

PersonLooks::Answer PersonLooks::look(const Networks& networks, const cv::Mat3b& frame, const cv::Mat3b& view,
                                      const cv::Mat1b& changed, Effort effort) {
    const cv::Size size = view.size();
    const cv::Mat1b lift = liftFor(view);
    const bool known = whole_.size() == size && changed.size() == size && !isAllNew(changed);
    const bool spares = effort != Effort::both && known;
    const bool onlyClose = spares && isWholeNew_ && !place_.empty() && !movesOutside(changed, place_);
    const bool onlyWhole = spares && !onlyClose && effort == Effort::inTurn && !close_.empty();
    if (!onlyClose) whole_ = networks.whole.query(lifted(view, lift));
    if (!onlyClose && (!known || place_.empty())) place_ = around(findPerson(whole_).solid);
    if (place_.empty()) place_ = cv::Rect({}, size);
    if (!onlyWhole) close_ = lookCloser(networks.close, frame, lift, whole_);
    isWholeNew_ = !onlyClose;

    const bool alike = &networks.whole == &networks.close;
    Answer answer{{}, agreed(whole_, close_)};
    answer.person = alike ? answer.cautious : weighed(whole_, close_);
    if (onlyClose || onlyWhole) {
        const cv::Mat1f& now = onlyClose ? close_ : whole_;
        answer.person = byChange(now, answer.person, changed);
        answer.cautious = alike ? answer.person : byChange(now, answer.cautious, changed);
    }
    return answer;
}

void PersonLooks::onPersonFound(const cv::Mat1b& person) {
    const cv::Rect now = around(person);
    const double aside = slack * person.cols, up = slack * person.rows;
    const bool near = std::abs(now.x - place_.x) <= aside && std::abs(now.br().x - place_.br().x) <= aside &&
                      std::abs(now.y - place_.y) <= up && std::abs(now.br().y - place_.br().y) <= up;
    if (!near || place_.empty()) place_ = now;
}

}  // namespace platform

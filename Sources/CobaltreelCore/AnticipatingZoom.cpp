#include "CobaltreelCore/AnticipatingZoom.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace cobaltreel::AnticipatingZoom {

namespace {

constexpr double never = -std::numeric_limits<double>::infinity();

// The easing curve's steepest rise and strongest bend, for a distance of 1 in a time of 1.
constexpr double peakSpeed = 3, peakAcceleration = 12;

struct Bounds {
    double minX, maxX, minY, maxY;

    void include(const Bounds& other) {
        minX = std::min(minX, other.minX);
        maxX = std::max(maxX, other.maxX);
        minY = std::min(minY, other.minY);
        maxY = std::max(maxY, other.maxY);
    }
};

/// A camera that rests, and the move that brought it there.
struct Shot {
    CameraState state;
    std::optional<Bounds> clicks;  // absent: the whole frame between two shots
    double arriveBy = 0;           // the camera rests from here on at the latest
    double freeFrom = 0;           // it may move again
    double lastClick = 0;

    std::optional<CameraMove> move{};  // absent where nothing moves
    std::optional<CameraMove> last{};  // the latest move so far, this one's included
    double lastReversal = never;       // its start
};

class Planner {
  public:
    Planner(std::span<const PointerSample> pointer, double width, double height, double duration,
            const AnticipationConfig& config)
        : pointer_(pointer),
          width_(width),
          height_(height),
          duration_(duration),
          config_(config),
          home_{1, width / 2, height / 2} {
        shots_.push_back({home_, std::nullopt});
    }

    void take(const Click& click) {
        const double x = std::clamp(click.px, 0.0, width_), y = std::clamp(click.py, 0.0, height_);
        const Shot shot = shotOf({x, x, y, y}, click.t, click.t);
        if (shots_.back().clicks && !isHome(shots_.back().state)) {
            goHomeBefore(shot);
            if (extend(shot)) return;
        }
        place(shot);
    }

    std::vector<CameraMove> finish() && {
        goHomeAtTheEnd();
        std::vector<CameraMove> moves;
        const Shot& first = shots_.front();
        if (!isHome(first.state)) moves.push_back({0, 0, home_, first.state});
        for (const Shot& shot : shots_)
            if (shot.move) moves.push_back(*shot.move);
        return moves;
    }

  private:
    bool isHome(const CameraState& state) const { return state == home_; }

    double moveLength(const CameraState& from, const CameraState& to) const {
        if (from == to) return 0;
        const double way = std::hypot((to.cx - from.cx) / width_, (to.cy - from.cy) / height_);
        const double zoom = std::abs(to.zoom - from.zoom);
        return std::max({config_.minMove, peakSpeed * way / config_.maxSpeed,
                         std::sqrt(peakAcceleration * way / config_.maxAcceleration),
                         peakSpeed * zoom / config_.maxZoomSpeed,
                         std::sqrt(peakAcceleration * zoom / config_.maxZoomAcceleration)});
    }

    CameraState framing(const Bounds& clicks) const {
        const double usable = 1 - 2 * config_.margin;
        const auto fit = [&](double frame, double extent) {
            return extent > 0 ? usable * frame / extent : config_.zoomScale;
        };
        const double zoom = std::min({config_.zoomScale, fit(width_, clicks.maxX - clicks.minX),
                                      fit(height_, clicks.maxY - clicks.minY)});
        if (zoom < config_.minZoom) return home_;
        const double halfWidth = width_ / (2 * zoom), halfHeight = height_ / (2 * zoom);
        return {zoom, std::clamp((clicks.minX + clicks.maxX) / 2, halfWidth, width_ - halfWidth),
                std::clamp((clicks.minY + clicks.maxY) / 2, halfHeight, height_ - halfHeight)};
    }

    Shot shotOf(const Bounds& clicks, double firstClick, double lastClick) const {
        return {framing(clicks), clicks, firstClick - config_.lead, lastClick + config_.linger, lastClick};
    }

    /// One shot for the clicks of both.
    Shot merged(const Shot& first, const Shot& second) const {
        Bounds clicks = *first.clicks;
        clicks.include(*second.clicks);
        return shotOf(clicks, first.arriveBy + config_.lead, second.lastClick);
    }

    /// The picture shows them with the margin, but for the sides on which the frame itself ends.
    bool shows(const CameraState& state, const Bounds& clicks, double margin) const {
        const auto crop = ZoomEngine::cropRect(state, width_, height_);
        const double dx = margin * crop.w, dy = margin * crop.h;
        return (crop.x <= 0 || clicks.minX >= crop.x + dx) &&
               (crop.maxX() >= width_ || clicks.maxX <= crop.maxX() - dx) &&
               (crop.y <= 0 || clicks.minY >= crop.y + dy) &&
               (crop.maxY() >= height_ || clicks.maxY <= crop.maxY() - dy);
    }

    /// The shot with the move into it from `before`; absent when there is no time for it.
    std::optional<Shot> reached(Shot shot, const Shot& before) const {
        shot.move.reset();
        shot.last = before.last;
        shot.lastReversal = before.lastReversal;
        const double length = moveLength(before.state, shot.state);
        if (length == 0) return shot;
        const CameraMove move{shot.arriveBy - length, shot.arriveBy, before.state, shot.state};
        if (move.tStart < before.freeFrom) return std::nullopt;
        if (before.last && isReversal(move, *before.last, width_, height_)) {
            if (move.tStart - before.lastReversal < config_.minReversalGap) return std::nullopt;
            shot.lastReversal = move.tStart;
        }
        shot.move = shot.last = move;
        return shot;
    }

    /// Adds the shot; where there is no time to reach it, it becomes one with what is before. That ends,
    /// since each round takes a shot away.
    void place(Shot shot) {
        for (;;) {
            if (shots_.empty()) {
                shots_.push_back(shot);  // the movie begins with it
                return;
            }
            if (auto next = reached(shot, shots_.back())) {
                shots_.push_back(*std::move(next));
                return;
            }
            if (shots_.back().clicks) shot = merged(shots_.back(), shot);
            shots_.pop_back();
        }
    }

    /// Lets the last shot hold these clicks as well, if its picture shows them: comfortably, or at all when
    /// there is no time for a shot of their own.
    bool extend(const Shot& shot) {
        Shot& last = shots_.back();
        if (!last.clicks) return false;
        const bool isTight = last.state.zoom == config_.zoomScale;
        if (!(isTight && shows(last.state, *shot.clicks, config_.comfort)) &&
            (reached(shot, last) || !shows(last.state, *shot.clicks, config_.margin)))
            return false;
        last.clicks->include(*shot.clicks);
        last.freeFrom = shot.freeFrom;
        last.lastClick = shot.lastClick;
        return true;
    }

    /// How long the camera stays in the last shot when nothing is clicked before `until`. While the pointer
    /// is in the picture the person works there: reads, or types, of which the recording knows nothing.
    double stayEnd(double until) const {
        const Shot& shot = shots_.back();
        const auto crop = ZoomEngine::cropRect(shot.state, width_, height_);
        const auto isOut = [&](const PointerSample& sample) {
            return !sample.point || sample.point->x < crop.x || sample.point->x > crop.maxX() ||
                   sample.point->y < crop.y || sample.point->y > crop.maxY();
        };
        const double atLeast = shot.lastClick + config_.idleTimeout;
        const double atMost = std::min(until, shot.lastClick + config_.maxStay);
        auto sample = std::ranges::upper_bound(pointer_, shot.lastClick, {}, &PointerSample::t);
        if (sample == pointer_.end()) return atLeast;
        while (sample != pointer_.end() && sample->t < atMost && !isOut(*sample)) ++sample;
        return std::max(atLeast, sample == pointer_.end() ? atMost : std::min(sample->t, atMost));
    }

    Shot homeFrom(double start) const {
        const double end = start + moveLength(shots_.back().state, home_);
        return {home_, std::nullopt, end, end + config_.minHome};
    }

    /// Shows the whole frame before `next` when there is time for it.
    void goHomeBefore(const Shot& next) {
        const Shot home = homeFrom(stayEnd(next.lastClick));
        if (home.freeFrom + moveLength(home_, next.state) > next.arriveBy) return;
        if (auto gone = reached(home, shots_.back())) shots_.push_back(*std::move(gone));
    }

    void goHomeAtTheEnd() {
        const Shot& last = shots_.back();
        if (!last.clicks || isHome(last.state)) return;
        const double latest = duration_ - moveLength(last.state, home_);
        const double start = std::min(stayEnd(duration_), latest);
        if (start < last.lastClick + config_.endLinger) return;
        if (auto gone = reached(homeFrom(start), last)) shots_.push_back(*std::move(gone));
    }

    std::span<const PointerSample> pointer_;
    double width_, height_, duration_;
    const AnticipationConfig& config_;
    CameraState home_;
    std::vector<Shot> shots_;
};

}  // namespace

std::vector<CameraMove> moves(std::span<const Click> clicks, std::span<const PointerSample> pointer,
                              double width, double height, double duration,
                              const AnticipationConfig& config) {
    std::vector<Click> sorted(clicks.begin(), clicks.end());
    std::ranges::stable_sort(sorted, {}, &Click::t);
    Planner planner(pointer, width, height, duration, config);
    for (const Click& click : sorted) planner.take(click);
    return std::move(planner).finish();
}

bool isReversal(const CameraMove& move, const CameraMove& before, double width, double height) {
    const double zoom = (move.to.zoom - move.from.zoom) * (before.to.zoom - before.from.zoom);
    const double way = (move.to.cx - move.from.cx) * (before.to.cx - before.from.cx) / (width * width) +
                       (move.to.cy - move.from.cy) * (before.to.cy - before.from.cy) / (height * height);
    return zoom < 0 || way < 0;
}

}  // namespace cobaltreel::AnticipatingZoom

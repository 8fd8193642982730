#include "CobaltreelCore/ZoomEngine.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cobaltreel::ZoomEngine {

namespace {

CameraState homeState(double width, double height) { return {1.0, width / 2, height / 2}; }

/// The plan while it grows: where the camera is and until when it is busy.
class Planner {
  public:
    Planner(double width, double height, double duration, const ZoomConfig& config)
        : width_(width),
          height_(height),
          duration_(duration),
          config_(config),
          home_(homeState(width, height)),
          state_(home_) {}

    void take(const Click& click) {
        if (zoomed_ && click.t - lastClick_ > config_.idleTimeout) zoomOut(lastClick_ + config_.idleTimeout);
        if (!zoomed_) {
            zoomed_ = travel(afterCooldown(click.t), config_.zoomInDuration, target(click));
        } else if (!isInDeadZone(click)) {
            travel(afterCooldown(click.t), config_.panDuration, target(click));
        }
        // Every click keeps a zoom alive, also one that moved nothing.
        lastClick_ = click.t;
    }

    std::vector<CameraMove> finish() && {
        if (zoomed_) {
            double start = lastClick_ + config_.idleTimeout;
            // Too late to be seen whole: end with the frame at home, but let the click be seen first.
            if (lastClick_ + config_.idleTimeout + config_.zoomOutDuration > duration_)
                start = std::max(0.0, std::min(lastClick_ + 0.5, duration_ - config_.zoomOutDuration));
            zoomOut(start);
        }
        return std::move(moves_);
    }

  private:
    double afterCooldown(double t) const {
        return std::max(busyUntil_, std::max(busyUntil_ + config_.cooldown, t));
    }

    void zoomOut(double notBefore) {
        if (travel(std::max(busyUntil_, notBefore), config_.zoomOutDuration, home_)) zoomed_ = false;
    }

    /// False when the move would start after the end of the output; then nothing changes.
    bool travel(double start, double length, const CameraState& to) {
        if (!(start < duration_)) return false;
        moves_.push_back({start, start + length, state_, to});
        busyUntil_ = moves_.back().tEnd;
        state_ = to;
        return true;
    }

    bool isInDeadZone(const Click& click) const {
        const double halfWidth = (width_ / state_.zoom) * config_.innerFraction * 0.5;
        const double halfHeight = (height_ / state_.zoom) * config_.innerFraction * 0.5;
        return std::abs(click.px - state_.cx) <= halfWidth && std::abs(click.py - state_.cy) <= halfHeight;
    }

    /// The zoomed state nearest to the click whose visible region lies inside the frame.
    CameraState target(const Click& click) const {
        const double halfWidth = width_ / (2 * config_.zoomScale);
        const double halfHeight = height_ / (2 * config_.zoomScale);
        // Not std::clamp: a scale below 1 makes the bounds cross, and then the upper one is to win.
        return {config_.zoomScale, std::min(width_ - halfWidth, std::max(halfWidth, click.px)),
                std::min(height_ - halfHeight, std::max(halfHeight, click.py))};
    }

    double width_;
    double height_;
    double duration_;
    const ZoomConfig& config_;
    CameraState home_;
    CameraState state_;
    bool zoomed_ = false;
    double busyUntil_ = -std::numeric_limits<double>::infinity();
    double lastClick_ = 0;
    std::vector<CameraMove> moves_;
};

}  // namespace

std::vector<CameraMove> moves(std::span<const Click> clicks, double width, double height, double duration,
                              const ZoomConfig& config) {
    std::vector<Click> sorted(clicks.begin(), clicks.end());
    std::stable_sort(sorted.begin(), sorted.end(), [](const Click& a, const Click& b) { return a.t < b.t; });
    Planner planner(width, height, duration, config);
    for (const Click& click : sorted) planner.take(click);
    return std::move(planner).finish();
}

CameraState evaluate(std::span<const CameraMove> moves, double t, double width, double height) {
    if (moves.empty() || t < moves.front().tStart) return homeState(width, height);
    for (std::size_t k = 0;; ++k) {
        const CameraMove& move = moves[k];
        if (t < move.tEnd) {
            const double e = easeInOutCubic((t - move.tStart) / (move.tEnd - move.tStart));
            const CameraState &from = move.from, &to = move.to;
            return {from.zoom + (to.zoom - from.zoom) * e, from.cx + (to.cx - from.cx) * e,
                    from.cy + (to.cy - from.cy) * e};
        }
        const bool last = k + 1 == moves.size();
        if (last || t < moves[k + 1].tStart) return move.to;
    }
}

double easeInOutCubic(double p) {
    if (p < 0.5) return p * (p * (p * 4));
    const double rest = 2 - 2 * p;
    return 1 - 0.5 * (rest * rest * rest);
}

platform::Rect cropRect(const CameraState& state, double width, double height) {
    const double w = width / state.zoom;
    const double h = height / state.zoom;
    return {state.cx - 0.5 * w, state.cy - 0.5 * h, w, h};
}

}  // namespace cobaltreel::ZoomEngine

#include "CobaltreelCore/Transforms.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cobaltreel::Transforms {

std::optional<FramePoint> displayPixel(double mouseX, double mouseY, const DisplayFrame& frame,
                                       double scale) {
    const bool inside = frame.x <= mouseX && mouseX < frame.x + frame.w &&  //
                        frame.y <= mouseY && mouseY < frame.y + frame.h;
    if (!inside) return std::nullopt;
    return FramePoint{(mouseX - frame.x) * scale, (frame.h - (mouseY - frame.y)) * scale};
}

std::optional<FramePoint> windowPixel(double mouseX, double mouseY, const WindowFrameSample& window,
                                      double mainScreenHeightPoints, double scale) {
    const double yTop = mainScreenHeightPoints - mouseY;
    const bool inside = window.x <= mouseX && mouseX < window.x + window.w &&  //
                        window.y <= yTop && yTop < window.y + window.h;
    if (!inside) return std::nullopt;
    return FramePoint{scale * (mouseX - window.x), scale * (yTop - window.y)};
}

FramePoint fittedPixel(const FramePoint& point, const WindowFrameSample& window, const SessionMeta& meta) {
    const double sourceW = std::trunc(meta.scaleFactor * window.w),
                 sourceH = std::trunc(meta.scaleFactor * window.h);
    const auto frameW = static_cast<double>(meta.captureWidthPx),
               frameH = static_cast<double>(meta.captureHeightPx);
    const auto isUnscaled = [](double source, double frame) {
        return frame == source || frame == source + 1;
    };
    if (sourceW < 1 || sourceH < 1 || frameW < 1 || frameH < 1 ||
        (isUnscaled(sourceW, frameW) && isUnscaled(sourceH, frameH)))
        return point;
    const double scale = std::min(frameW / sourceW, frameH / sourceH);
    return {(frameW - scale * sourceW) / 2 + scale * point.x,
            (frameH - scale * sourceH) / 2 + scale * point.y};
}

namespace {

/// Finds the last frame of the list that is not after a time, also when the clock of a damaged log
/// steps back.
class WindowFrames {
  public:
    explicit WindowFrames(const std::vector<WindowFrameSample>& frames)
        : frames_(frames), earliestFrom_(frames.size()) {
        double earliest = std::numeric_limits<double>::infinity();
        for (std::size_t i = frames.size(); i-- > 0;)
            earliestFrom_[i] = earliest = std::min(earliest, frames[i].t);
    }

    const WindowFrameSample* at(double t) const {
        const auto later = std::upper_bound(earliestFrom_.begin(), earliestFrom_.end(), t);
        if (later == earliestFrom_.begin()) return nullptr;
        return &frames_[static_cast<std::size_t>(later - earliestFrom_.begin()) - 1];
    }

  private:
    const std::vector<WindowFrameSample>& frames_;
    std::vector<double> earliestFrom_;  // the least time from each frame to the end; never falls
};

/// Places the samples of a log in the picture.
class Placement {
  public:
    Placement(const EventLog& log, const SessionMeta& meta, double mainScreenHeightPoints)
        : log_(log),
          meta_(meta),
          mainScreenHeightPoints_(mainScreenHeightPoints),
          windowFrames_(log.windowFrames) {}

    std::optional<FramePoint> of(const MouseSample& sample) const {
        if (meta_.mode != CaptureMode::window)
            return displayPixel(sample.x, sample.y, meta_.displayFramePoints, meta_.scaleFactor);
        const auto* frame = windowFrames_.at(sample.t);
        if (!frame) return std::nullopt;
        const auto point =
            windowPixel(sample.x, sample.y, *frame, mainScreenHeightPoints_, meta_.scaleFactor);
        const WindowFrameSample& first = log_.windowFrames.front();
        const bool isResized = frame->w != first.w || frame->h != first.h;
        return point && isResized ? fittedPixel(*point, *frame, meta_) : point;
    }

  private:
    const EventLog& log_;
    const SessionMeta& meta_;
    double mainScreenHeightPoints_;
    WindowFrames windowFrames_;
};

}  // namespace

std::vector<Click> clicks(const EventLog& log, const SessionMeta& meta, double mainScreenHeightPoints) {
    constexpr std::int64_t clickingButtons = 3;  // primary and secondary
    std::vector<Click> result;
    const Placement placement(log, meta, mainScreenHeightPoints);
    std::int64_t previous = 0;
    for (const MouseSample& sample : log.samples) {
        const std::int64_t current = sample.buttons & clickingButtons;
        const bool pressed = (current & ~previous) != 0;
        previous = current;
        if (!pressed) continue;
        if (const auto point = placement.of(sample)) result.push_back({sample.t, point->x, point->y});
    }
    return result;
}

std::vector<PointerSample> pointer(const EventLog& log, const SessionMeta& meta,
                                   double mainScreenHeightPoints) {
    std::vector<PointerSample> result;
    result.reserve(log.samples.size());
    const Placement placement(log, meta, mainScreenHeightPoints);
    for (const MouseSample& sample : log.samples) result.push_back({sample.t, placement.of(sample)});
    return result;
}

}  // namespace cobaltreel::Transforms

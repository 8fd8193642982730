#include "CobaltreelCore/Transforms.hpp"

#include <algorithm>

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

namespace {

/// The last frame of the list that is not after `t`. Searched from the end rather than by halving:
/// the answer stays the same one when the clock of a damaged log steps back.
const WindowFrameSample* windowFrameAt(const std::vector<WindowFrameSample>& frames, double t) {
    const auto found = std::find_if(frames.rbegin(), frames.rend(),
                                    [t](const WindowFrameSample& frame) { return frame.t <= t; });
    return found == frames.rend() ? nullptr : &*found;
}

}  // namespace

std::vector<Click> clicks(const EventLog& log, const SessionMeta& meta, double mainScreenHeightPoints) {
    constexpr std::int64_t clickingButtons = 3;  // primary and secondary
    std::vector<Click> result;
    std::int64_t previous = 0;
    for (const MouseSample& sample : log.samples) {
        const std::int64_t current = sample.buttons & clickingButtons;
        const bool pressed = (current & ~previous) != 0;
        previous = current;
        if (!pressed) continue;

        std::optional<FramePoint> point;
        if (meta.mode == CaptureMode::window) {
            if (const auto* frame = windowFrameAt(log.windowFrames, sample.t))
                point = windowPixel(sample.x, sample.y, *frame, mainScreenHeightPoints, meta.scaleFactor);
        } else {
            point = displayPixel(sample.x, sample.y, meta.displayFramePoints, meta.scaleFactor);
        }
        if (point) result.push_back({sample.t, point->x, point->y});
    }
    return result;
}

}  // namespace cobaltreel::Transforms

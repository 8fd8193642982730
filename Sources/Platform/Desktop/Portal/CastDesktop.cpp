#include "Platform/Desktop/Portal/CastDesktop.hpp"

#include <utility>

namespace platform {

CastDesktop::CastDesktop(std::shared_ptr<CastScreen> screen, std::shared_ptr<PointerButtons> buttons,
                         std::shared_ptr<Clock> clock)
    : screen_(std::move(screen)), buttons_(std::move(buttons)), clock_(std::move(clock)) {}

CastDesktop::Buttons CastDesktop::buttonsOf(double time) {
    recent_.push_back({clock_->now(), buttons_->take()});
    // One state a call, so that a short click is not passed over; more only when nobody has asked for long.
    constexpr std::size_t maxWaiting = 16;
    while (recent_.size() > maxWaiting) recent_.pop_front();
    if (recent_.front().time > time) return {time, told_};
    const Buttons due = recent_.front();
    recent_.pop_front();
    told_ = due.down;
    return due;
}

PointerState CastDesktop::pointer() {
    const double now = clock_->now();
    // In any case, so that an old press is not told with a place of now.
    const auto [time, down] = buttonsOf(now - pictureDelay);
    const auto place = screen_->place();
    const auto spot = screen_->pointer(time);
    if (!place || !spot) return {-1, -1, 0, now - time};
    // Upwards, a screen ends before its top edge: the pointer on its uppermost row is told a hair below it.
    constexpr double hair = 1.0 / 1024;
    return {place->frame.x + spot->x / place->scale,
            place->frame.h - (place->frame.y + spot->y / place->scale) - hair, down, now - time};
}

std::vector<Screen> CastDesktop::screens() {
    const auto place = screen_->place();
    if (!place) return {};
    const Rect& frame = place->frame;
    // Upwards from the bottom left of a main screen as high as this one.
    return {{place->displayID, {frame.x, 0.0 - frame.y, frame.w, frame.h}, place->scale}};
}

std::optional<Rect> CastDesktop::windowBounds(std::uint32_t) {
    const auto place = screen_->place();
    if (!place || !place->isWindow) return std::nullopt;
    return place->frame;
}

}  // namespace platform

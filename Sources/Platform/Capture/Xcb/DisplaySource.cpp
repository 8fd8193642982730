#include "Platform/Capture/Xcb/DisplaySource.hpp"

#include <algorithm>

namespace platform {

DisplaySource::DisplaySource(XcbConnection& connection, const DisplayContentFilter& filter,
                             const StreamConfiguration& configuration)
    : connection_(connection),
      display_(filter.display),
      grabber_(connection, configuration),
      damage_(connection, connection.root()) {
    requireKnownPixels(connection);
    watchMonitors(connection);
    if (configuration.showsCursor) pointer_ = std::make_unique<PointerOverlay>(connection);
    if (!filter.excludingApplications.empty())
        excluded_ = std::make_unique<ExcludedWindows>(connection, filter.excludingApplications);
    findDisplay();
}

void DisplaySource::findDisplay() {
    areMonitorsStale_ = false;
    const auto monitors = readMonitors(connection_);
    const auto found = std::find_if(monitors.begin(), monitors.end(), [this](const XcbMonitor& monitor) {
        return monitor.displayID == display_.displayID;
    });
    const auto root = outerBounds(connection_, connection_.root());
    if (connection_.isBroken()) return;  // the stream tells of that
    if (found == monitors.end())
        throw PlatformError("ScreenCapture", contentVanished,
                            "The display \"" + display_.name +
                                "\" is no longer connected. Choose another display to record.");
    if (!root || !root->contains(found->area))
        throw PlatformError("ScreenCapture", contentVanished,
                            "The display \"" + display_.name +
                                "\" lies outside the screen since the screen's size was changed.");
    area_ = found->area;
    hasChanged_ = true;
}

void DisplaySource::handle(const xcb_generic_event_t& event) {
    if (const auto box = damage_.boxOf(event)) {
        // Drawing elsewhere only makes the box grow, until it meets this display.
        if (box->intersected(area_).isEmpty()) return;
        if (excluded_ && excluded_->hides(*box))
            damage_.clear();
        else
            hasChanged_ = true;
        return;
    }
    if (excluded_ && excluded_->handle(event)) hasChanged_ = true;
    if (isMonitorChange(connection_, event)) areMonitorsStale_ = true;
    if (pointer_) pointer_->handle(event);
}

bool DisplaySource::hasChanged() const {
    return hasChanged_ || areMonitorsStale_ || (pointer_ && pointer_->hasChanged());
}

bool DisplaySource::isPointerSeen() {
    if (!pointer_) return false;
    pointer_->ask();
    pointer_->update();
    return !pointer_->bounds().intersected(area_).isEmpty() || !pointer_->drawnBounds().isEmpty();
}

void DisplaySource::handleWaitingEvents() {
    while (const XcbEvent event{xcb_poll_for_event(connection_.get())})
        if (event->response_type != 0) handle(*event);
}

std::optional<FrameGrabber::Draft> DisplaySource::read() {
    auto draft = grabber_.begin(area_.width, area_.height);
    if (!draft) return std::nullopt;
    damage_.clear();
    if (!grabber_.read(*draft, connection_.root(), area_.x, area_.y, pointer_.get())) {
        // Most likely the screen has just been made smaller.
        constexpr int mostRefusals = 10;
        if (++refusals_ > mostRefusals && !connection_.isBroken())
            throw PlatformError(
                "ScreenCapture", contentVanished,
                "The X server refuses to hand out the picture of the display \"" + display_.name + "\".");
        areMonitorsStale_ = true;
        return std::nullopt;
    }
    refusals_ = 0;
    return draft;
}

std::optional<GrabbedPicture> DisplaySource::grab() {
    if (areMonitorsStale_) findDisplay();
    if (!hasChanged_ && !isPointerSeen()) return std::nullopt;
    hasChanged_ = false;

    std::optional<FrameGrabber::Draft> draft;
    if (excluded_) {
        handleWaitingEvents();
        excluded_->prepare(area_);
        const std::uint64_t before = excluded_->revision();
        draft = read();
        // The server's events come in order: what these do not tell happened after the picture was taken.
        handleWaitingEvents();
        if (draft && (excluded_->revision() != before || !excluded_->compose(draft->plane))) draft.reset();
    } else {
        draft = read();
    }
    std::optional<GrabbedPicture> picture;
    if (draft) {
        if (pointer_) pointer_->draw(draft->plane, area_.x, area_.y);
        picture = grabber_.finish(std::move(*draft));
    }
    if (!picture) hasChanged_ = true;
    return picture;
}

}  // namespace platform

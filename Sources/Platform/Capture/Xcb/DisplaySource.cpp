#include "Platform/Capture/Xcb/DisplaySource.hpp"

#include <algorithm>

namespace platform {

DisplaySource::DisplaySource(XcbConnection& connection, const DisplayContentFilter& filter,
                             const StreamConfiguration& configuration)
    : CaptureSource(connection),
      display_(filter.display),
      grabber_(connection, configuration),
      damage_(connection, connection.root(), XCB_DAMAGE_REPORT_LEVEL_DELTA_RECTANGLES) {
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
    if (connection_.isBroken()) return;  // the stream reports that
    if (found == monitors.end())
        throw PlatformError("ScreenCapture", contentVanished,
                            "The display \"" + display_.name +
                                "\" is no longer connected. Choose another display to record.");
    if (!root || !root->contains(found->area))
        throw PlatformError("ScreenCapture", contentVanished,
                            "The display \"" + display_.name +
                                "\" lies outside the screen since the screen's size was changed.");
    area_ = found->area;
    grabber_.setSize(area_.width, area_.height);
    dirty_.add(area_);
    isPictureDue_ = true;
    areHolesStale_ = excluded_ != nullptr;
}

void DisplaySource::handle(const xcb_generic_event_t& event) {
    if (const auto box = damage_.boxOf(event)) {
        const PixelRect seen = box->intersected(area_);
        if (seen.isEmpty() || (excluded_ && excluded_->hides(seen))) return;
        dirty_.add(seen);
        return;
    }
    if (excluded_ && excluded_->handle(event)) areHolesStale_ = true;
    if (isMonitorChange(connection_, event)) areMonitorsStale_ = true;
    if (pointer_) pointer_->handle(event);
}

CaptureSource::Change DisplaySource::change() const {
    if (isPictureDue_ || areMonitorsStale_ || areHolesStale_ || !dirty_.isEmpty()) return Change::content;
    return pointer_ && pointer_->hasChanged() ? Change::pointer : Change::none;
}

bool DisplaySource::isPointerSeen() {
    if (!pointer_) return false;
    pointer_->query();
    pointer_->update();
    return !pointer_->bounds().intersected(area_).isEmpty() || !pointer_->drawnBounds().isEmpty();
}

bool DisplaySource::read(const RectList& areas) {
    RectList inside;
    for (const PixelRect& area : intersected(areas, area_))
        inside.push_back(area.translated(-area_.x, -area_.y));
    if (!grabber_.read(connection_.root(), area_.x, area_.y, inside, pointer_.get())) {
        // Most likely the screen has just been made smaller.
        constexpr int maxRefusals = 10;
        if (++refusals_ > maxRefusals && !connection_.isBroken())
            throw PlatformError(
                "ScreenCapture", contentVanished,
                "The X server refuses to hand out the picture of the display \"" + display_.name + "\".");
        areMonitorsStale_ = true;
        return false;
    }
    refusals_ = 0;
    return true;
}

bool DisplaySource::update() {
    damage_.clear();
    const RectList areas = dirty_.take();
    if (!read(areas)) {
        dirty_.add(areas);
        return false;
    }
    grabber_.commit();
    return true;
}

bool DisplaySource::updateAround() {
    damage_.clear();
    handleWaitingEvents();
    excluded_->prepare(area_);
    const RectList& holes = excluded_->holes();
    if (holes != holes_) {
        dirty_.add(intersected(holes_, area_));
        areHolesStale_ = true;
        holes_ = holes;
    }
    const RectList areas = dirty_.take();
    const std::uint64_t before = excluded_->revision();
    const bool isRead = read(without(areas, holes_));
    // The server's events come in order: what these do not tell happened after the picture was taken.
    handleWaitingEvents();
    if (!isRead || excluded_->revision() != before) {
        dirty_.add(areas);
        return false;
    }
    grabber_.commit();
    const bool concernsHoles = areHolesStale_ || !intersected(areas, holes_).empty();
    if (!concernsHoles) return true;
    areHolesStale_ = !excluded_->compose(grabber_.image());
    for (const PixelRect& hole : holes_) grabber_.change(hole.translated(-area_.x, -area_.y));
    return !areHolesStale_;
}

std::optional<GrabbedPicture> DisplaySource::grab() {
    if (areMonitorsStale_) findDisplay();
    if (!isPictureDue_ && !areHolesStale_ && dirty_.isEmpty() && !isPointerSeen()) return std::nullopt;

    isPictureDue_ = true;  // until there is one
    if (!grabber_.claimRoom()) return std::nullopt;
    if (!(excluded_ ? updateAround() : update())) return std::nullopt;
    auto picture = grabber_.finish(pointer_.get(), area_.x, area_.y);
    isPictureDue_ = !picture;
    return picture;
}

}  // namespace platform

#include "Platform/Capture/Xcb/WindowSource.hpp"

#include <xcb/composite.h>

namespace platform {

WindowSource::WindowSource(XcbConnection& connection, const WindowContentFilter& filter,
                           const StreamConfiguration& configuration)
    : connection_(connection),
      window_(filter.window.windowID),
      title_(filter.window.title),
      grabber_(connection, configuration) {
    requireKnownPixels(connection);
    // 0.2 brought the named pixmaps.
    const auto version = connection.extension(xcb_composite_id) == nullptr
                             ? nullptr
                             : connection.reply(xcb_composite_query_version_reply,
                                                xcb_composite_query_version(connection.get(), 0, 4));
    if (!version || (version->major_version == 0 && version->minor_version < 2))
        throw PlatformError("ScreenCapture", serverLacks,
                            "The X server of display \"" + connection.name() +
                                "\" has no Composite extension, so a single window cannot be recorded. "
                                "Record the whole display.");
    if (configuration.showsCursor) pointer_ = std::make_unique<PointerOverlay>(connection);
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.get(), window_, XCB_CW_EVENT_MASK, &events);
    followFrame();
}

WindowSource::~WindowSource() { leaveFrame(); }

void WindowSource::failGone() const {
    throw PlatformError("ScreenCapture", contentVanished, "The window \"" + title_ + "\" was closed.");
}

void WindowSource::leaveFrame() {
    contents_.reset();
    damage_.reset();
    if (frame_ != XCB_NONE)
        xcb_composite_unredirect_window(connection_.get(), frame_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    frame_ = XCB_NONE;
}

void WindowSource::followFrame() {
    isFrameStale_ = false;
    leaveFrame();
    xcb_connection_t* c = connection_.get();
    frame_ = frameOf(connection_, window_);
    if (frame_ == XCB_NONE) {
        if (connection_.isBroken()) return;  // the stream tells of that
        failGone();
    }
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, frame_, XCB_CW_EVENT_MASK, &events);
    xcb_composite_redirect_window(c, frame_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    damage_ = std::make_unique<ScreenDamage>(connection_, frame_);
    shadow_ = shadowExtents(connection_, window_);
    if (const auto bounds = outerBounds(connection_, frame_)) bounds_ = *bounds;
    const auto attributes =
        connection_.reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(c, frame_));
    isShown_ = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    hasChanged_ = true;
}

bool WindowSource::nameContents() {
    contents_ = NamedPixmap::of(connection_, frame_);
    if (contents_ && !contents_->hasKnownPixels()) contents_.reset();
    return contents_.has_value();
}

void WindowSource::handle(const xcb_generic_event_t& event) {
    if (damage_ && damage_->boxOf(event)) {
        hasChanged_ = true;
        return;
    }
    if (pointer_) pointer_->handle(event);
    const bool isSynthetic = (event.response_type & 0x80) != 0;
    switch (event.response_type & 0x7f) {
        case XCB_DESTROY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
            if (notify.window == window_)
                isGone_ = true;
            else if (notify.window == frame_)
                isFrameStale_ = true;
            break;
        }
        case XCB_REPARENT_NOTIFY:
            if (reinterpret_cast<const xcb_reparent_notify_event_t&>(event).window == window_)
                isFrameStale_ = true;
            break;
        case XCB_UNMAP_NOTIFY:
            if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window == frame_) {
                isShown_ = false;
                contents_.reset();
            }
            break;
        case XCB_MAP_NOTIFY:
            if (reinterpret_cast<const xcb_map_notify_event_t&>(event).window == frame_) {
                isShown_ = hasChanged_ = true;
                contents_.reset();
            }
            break;
        case XCB_CONFIGURE_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
            if (notify.window != frame_ || isSynthetic) break;
            const PixelRect now{notify.x, notify.y, notify.width + 2 * notify.border_width,
                                notify.height + 2 * notify.border_width};
            if (now.width != bounds_.width || now.height != bounds_.height) {
                contents_.reset();
                hasChanged_ = true;
            }
            bounds_ = now;
            break;
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (notify.window == window_ && notify.atom == connection_.atom("_GTK_FRAME_EXTENTS")) {
                shadow_ = shadowExtents(connection_, window_);
                hasChanged_ = true;
            }
            break;
        }
        default:
            break;
    }
}

bool WindowSource::hasChanged() const {
    return isGone_ || isFrameStale_ || (isShown_ && (hasChanged_ || (pointer_ && pointer_->hasChanged())));
}

bool WindowSource::isPointerSeen(const PixelRect& seen) {
    if (!pointer_) return false;
    pointer_->ask();
    pointer_->update();
    return !pointer_->bounds().intersected(seen).isEmpty() || !pointer_->drawnBounds().isEmpty();
}

std::optional<GrabbedPicture> WindowSource::grab() {
    if (isGone_) failGone();
    if (isFrameStale_) followFrame();
    if (!isShown_) return std::nullopt;
    if (!hasChanged_ && !isPointerSeen(shadow_.cutFrom(bounds_))) return std::nullopt;
    hasChanged_ = true;  // until there is a picture
    if (!contents_ && !nameContents()) {
        // Hidden a moment ago; an event says when it is back.
        isShown_ = false;
        return std::nullopt;
    }

    const PixelRect shown = shadow_.cutFrom({0, 0, contents_->width(), contents_->height()});
    auto draft = grabber_.begin(shown.width, shown.height);
    if (!draft) return std::nullopt;
    damage_->clear();
    if (!grabber_.read(*draft, contents_->id(), shown.x, shown.y, pointer_.get())) {
        contents_.reset();
        return std::nullopt;
    }
    if (pointer_) pointer_->draw(draft->plane, bounds_.x + shown.x, bounds_.y + shown.y);
    auto picture = grabber_.finish(std::move(*draft));
    hasChanged_ = !picture;
    return picture;
}

}  // namespace platform

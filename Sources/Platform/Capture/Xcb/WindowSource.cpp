#include "Platform/Capture/Xcb/WindowSource.hpp"

#include "Platform/Capture/Xcb/RedirectedWindow.hpp"
#include "Platform/Capture/Xcb/WindowPainting.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include <xcb/composite.h>
#include <xcb/shape.h>

namespace platform {

namespace {

/// How long the last picture stands while a window that was shown or resized has not been painted whole.
/// After that, what was painted is shown; the rest stays as it was.
constexpr double paintPatience = 0.5;  // seconds
/// The same at the beginning, where a compositing manager has kept the contents for long, most likely
/// painted: programs are asked to paint, and those that do not, or not everything, are believed to have done
/// so before.
constexpr double firstPatience = 0.1;  // seconds
/// How long a window may be withdrawn: programs hide theirs for a moment to change its decorations.
constexpr double withdrawalPatience = 2;  // seconds

PixelRect wholeOf(const PixelRect& bounds) { return {0, 0, bounds.width, bounds.height}; }

bool isEventOf(const xcb_generic_event_t& event, int type) { return (event.response_type & 0x7f) == type; }

}  // namespace

WindowSource::WindowSource(XcbConnection& connection, const WindowContentFilter& filter,
                           const StreamConfiguration& configuration)
    : CaptureSource(connection),
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
    if (const auto* shape = connection.extension(xcb_shape_id))
        shapeEvent_ = shape->first_event + XCB_SHAPE_NOTIFY;
    if (configuration.showsCursor) pointer_ = std::make_unique<PointerOverlay>(connection);
    updateFrame();
    if (!isReadable() && !connection.isBroken())
        throw PlatformError("ScreenCapture", contentHidden,
                            "The window \"" + title_ +
                                "\" is not shown at the moment: it is minimised, shaded or on another "
                                "workspace. Bring it to the screen, or record the whole display.");
}

WindowSource::~WindowSource() { leaveFrame(); }

void WindowSource::failGone() const {
    throw PlatformError("ScreenCapture", contentVanished, "The window \"" + title_ + "\" was closed.");
}

void WindowSource::leaveFrame() {
    contents_.reset();
    damage_.reset();
    if (frame_ == XCB_NONE) return;
    if (shapeEvent_ >= 0) xcb_shape_select_input(connection_.get(), frame_, 0);
    xcb_composite_unredirect_window(connection_.get(), frame_, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void WindowSource::updateFrame() {
    isFrameStale_ = false;
    leaveFrame();
    xcb_connection_t* c = connection_.get();
    const bool isFirst = frame_ == XCB_NONE;
    frame_ = frameOf(connection_, window_);
    if (frame_ == XCB_NONE) {
        if (connection_.isBroken()) return;  // the stream reports that
        failGone();
    }
    const std::uint32_t own =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_EXPOSURE;
    xcb_change_window_attributes(c, window_, XCB_CW_EVENT_MASK, &own);
    const std::uint32_t withChildren = own | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, frame_, XCB_CW_EVENT_MASK, &withChildren);
    if (shapeEvent_ >= 0) xcb_shape_select_input(c, frame_, 1);
    damage_ = std::make_unique<DamageTracker>(connection_, frame_, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);

    // What covers the window must be known as of the moment when its contents begin to be kept.
    xcb_grab_server(c);
    const auto attributes =
        connection_.reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(c, frame_));
    const auto geometry = connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(c, frame_));
    const bool isKept = NamedPixmap::of(connection_, frame_).has_value();
    if (geometry) {
        bounds_ = outerBounds(*geometry);
        border_ = geometry->border_width;
    }
    RectList shape, painted;
    if (isFirst) shape = boundingShape(connection_, {frame_, bounds_, border_, true});
    // What the screen shows of a window whose contents nobody has kept is the window's own.
    if (isFirst && !isKept) painted = without(shape, coveredParts(connection_, frame_, bounds_));
    damageFrom_ = xcb_composite_redirect_window(c, frame_, XCB_COMPOSITE_REDIRECT_AUTOMATIC).sequence;
    xcb_ungrab_server(c);

    isFrameShown_ = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (geometry && geometry->depth != 24 && geometry->depth != 32)
        throw PlatformError("ScreenCapture", serverLacks,
                            "The window \"" + title_ + "\" is drawn in " + std::to_string(geometry->depth) +
                                "-bit colors, which cannot be recorded by themselves. Record the whole "
                                "display.");
    learnClient();
    learnShape();
    beginContents(painted);
    dirty_.add(wholeOf(bounds_));
    if (isFirst && isKept) {
        presumedPainted_ = std::move(shape);
        damageFrom_ = requestPaint(connection_, frame_, false);
    } else if (!isFirst || pixelCount(painted) < pixelCount(shape)) {
        damageFrom_ = requestPaint(connection_, frame_, true);
    }
}

void WindowSource::beginContents(const RectList& painted) {
    contents_.reset();
    presumedPainted_.clear();
    unpainted_.begin(wholeOf(bounds_), painted);
    isLayoutStale_ = isPictureDue_ = true;
}

void WindowSource::learnShape() {
    isLayoutStale_ = true;
    const auto extents = shapeEvent_ < 0
                             ? nullptr
                             : connection_.reply(xcb_shape_query_extents_reply,
                                                 xcb_shape_query_extents(connection_.get(), frame_));
    constexpr PixelRect everywhere{-(1 << 16), -(1 << 16), 1 << 17, 1 << 17};
    if (extents && extents->bounding_shaped)
        unpainted_.setShape(boundingShape(connection_, {frame_, bounds_, border_, true}));
    else
        unpainted_.setShape({everywhere});
}

void WindowSource::learnClient() {
    isClientStale_ = false;
    xcb_connection_t* c = connection_.get();
    const auto attributes =
        connection_.reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(c, window_));
    const auto states = cardinals(connection_, window_, connection_.atom("_NET_WM_STATE"));
    isClientShown_ = attributes && attributes->map_state != XCB_MAP_STATE_UNMAPPED;
    isShaded_ =
        std::find(states.begin(), states.end(), connection_.atom("_NET_WM_STATE_SHADED")) != states.end();
    // Window managers take this property away from windows that their programs have hidden.
    const auto state = cardinals(connection_, window_, connection_.atom("WM_STATE"), 1);
    constexpr std::uint32_t withdrawnState = 0;
    if (isClientShown_ || (!state.empty() && state.front() != withdrawnState))
        withdrawnSince_.reset();
    else if (!withdrawnSince_)
        withdrawnSince_ = HostClock().now();
}

void WindowSource::learnLayout() {
    isLayoutStale_ = false;
    const auto now = framedBounds(connection_, window_, frame_);
    const auto place = connection_.reply(xcb_translate_coordinates_reply,
                                         xcb_translate_coordinates(connection_.get(), window_, frame_, 0, 0));
    const auto inner =
        connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(connection_.get(), window_));
    if (!now || !place || !inner) return;  // an event says more
    client_ = {place->dst_x + border_, place->dst_y + border_, inner->width, inner->height};
    RectList visible = intersected(boundingShape(connection_, {frame_, bounds_, border_, true}), now->seen);
    if (now->seen == seen_ && visible == visible_) return;
    seen_ = now->seen;
    visible_ = std::move(visible);
    dirty_.add(wholeOf(bounds_));
}

bool WindowSource::nameContents() {
    contents_ = NamedPixmap::of(connection_, frame_);
    // Events up to here tell whether these are still the contents whose painting was followed.
    handleWaitingEvents();
    return contents_.has_value();
}

void WindowSource::handle(const xcb_generic_event_t& event) {
    if (damage_) {
        if (const auto box = damage_->boxOf(event)) {
            // What the server reports when it makes new contents nobody need have painted.
            if (static_cast<std::int32_t>(event.full_sequence - damageFrom_) < 0) return;
            const PixelRect part = box->translated(border_, border_);
            unpainted_.paint(part);
            dirty_.add(part);
            return;
        }
    }
    if (pointer_) pointer_->handle(event);
    if (isEventOf(event, shapeEvent_)) {
        const auto& notify = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
        if (notify.affected_window != frame_ || notify.shape_kind != XCB_SHAPE_SK_BOUNDING) return;
        learnShape();
        return;
    }
    // What programs send by themselves says nothing about the server's doing.
    if ((event.response_type & 0x80) == 0) handleStructure(event);
}

void WindowSource::handleStructure(const xcb_generic_event_t& event) {
    switch (event.response_type) {
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
        case XCB_MAP_NOTIFY:
        case XCB_UNMAP_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_map_notify_event_t&>(event);
            const bool isShown = event.response_type == XCB_MAP_NOTIFY;
            if (notify.window == frame_) {
                isFrameShown_ = isShown;
                beginContents({});
                if (isShown) damageFrom_ = requestPaint(connection_, frame_, true);
            }
            if (notify.window == window_) {
                isClientShown_ = isShown;
                isClientStale_ = isLayoutStale_ = true;
                if (isShown) unpainted_.owe(client_);
            }
            if (notify.window != frame_) unpainted_.unsettle();
            break;
        }
        case XCB_CONFIGURE_NOTIFY:
            handleConfigure(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
            break;
        case XCB_GRAVITY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_gravity_notify_event_t&>(event);
            if (notify.event != frame_) break;
            if (notify.window == window_)
                placeClient({notify.x + border_, notify.y + border_, client_.width, client_.height});
            else
                unpainted_.unsettle();
            break;
        }
        case XCB_EXPOSE:
            unpainted_.settle();
            break;
        case XCB_PROPERTY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (notify.window != window_) break;
            if (notify.atom == connection_.atom("_GTK_FRAME_EXTENTS") ||
                notify.atom == connection_.atom("_NET_FRAME_EXTENTS"))
                isLayoutStale_ = true;
            if (notify.atom == connection_.atom("WM_STATE") ||
                notify.atom == connection_.atom("_NET_WM_STATE"))
                isClientStale_ = isLayoutStale_ = true;
            break;
        }
        default:
            break;
    }
}

void WindowSource::handleConfigure(const xcb_configure_notify_event_t& notify) {
    if (notify.window == frame_) {
        const PixelRect now{notify.x, notify.y, notify.width + 2 * notify.border_width,
                            notify.height + 2 * notify.border_width};
        const bool isResized = now.width != bounds_.width || now.height != bounds_.height;
        bounds_ = now;
        border_ = notify.border_width;
        if (isResized) {
            contents_.reset();
            presumedPainted_.clear();
            unpainted_.resize(wholeOf(bounds_));
            isLayoutStale_ = true;
        } else {
            unpainted_.unsettle();
        }
    } else if (notify.event == frame_) {
        if (notify.window == window_)
            placeClient({notify.x + border_, notify.y + border_, notify.width, notify.height});
        else
            unpainted_.unsettle();
    }
}

void WindowSource::placeClient(const PixelRect& place) {
    unpainted_.move(client_, place.x - client_.x, place.y - client_.y);
    client_ = place;
    isLayoutStale_ = true;
}

CaptureSource::Change WindowSource::change() const {
    if (isGone_ || isFrameStale_ || isClientStale_ || withdrawnSince_) return Change::content;
    if (!isReadable()) return Change::none;
    if (isPictureDue_ || isLayoutStale_ || !dirty_.isEmpty()) return Change::content;
    return pointer_ && pointer_->hasChanged() ? Change::pointer : Change::none;
}

bool WindowSource::isPointerSeen() {
    if (!pointer_) return false;
    pointer_->query();
    pointer_->update();
    const PixelRect seen = seen_.translated(bounds_.x, bounds_.y);
    return !pointer_->bounds().intersected(seen).isEmpty() || !pointer_->drawnBounds().isEmpty();
}

void WindowSource::watchWithdrawal() {
    if (withdrawnSince_ && HostClock().now() > *withdrawnSince_ + withdrawalPatience)
        throw PlatformError("ScreenCapture", contentVanished,
                            "The window \"" + title_ + "\" was hidden by its program.");
}

bool WindowSource::isWaitingForPaint(const RectList& unpainted) {
    if (unpainted.empty()) {
        incompleteSince_.reset();
        return false;
    }
    const double now = HostClock().now();
    if (!incompleteSince_) {
        incompleteSince_ = now;
        isAskedAgain_ = false;
    }
    if (presumedPainted_.empty() && now > *incompleteSince_ + paintPatience / 2 &&
        !std::exchange(isAskedAgain_, true))
        requestPaint(connection_, frame_, true);
    return now < *incompleteSince_ + (presumedPainted_.empty() ? paintPatience : firstPatience);
}

std::optional<GrabbedPicture> WindowSource::grab() {
    if (isGone_) failGone();
    if (isFrameStale_) updateFrame();
    if (isClientStale_) learnClient();
    watchWithdrawal();
    if (!isReadable()) return std::nullopt;

    damage_->clear();
    if (isLayoutStale_) learnLayout();
    if (!contents_) nameContents();
    if (!unpainted_.isSettled()) {
        connection_.reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_.get()));
        handleWaitingEvents();
        unpainted_.settle();
        // What was painted meanwhile may not have counted.
        if (!unpainted_.rects().empty()) requestPaint(connection_, frame_, true);
    }
    if (!contents_ || isLayoutStale_ || !isReadable() || seen_.isEmpty()) return std::nullopt;

    RectList unpainted = intersected(unpainted_.rects(), visible_);
    if (isWaitingForPaint(unpainted)) return std::nullopt;
    for (const PixelRect& part : std::exchange(presumedPainted_, {})) unpainted_.paint(part);
    unpainted = intersected(unpainted_.rects(), visible_);
    if (!grabber_.hasSize(seen_.width, seen_.height)) {
        grabber_.setSize(seen_.width, seen_.height);
        dirty_.add(wholeOf(bounds_));
    }
    if (dirty_.isEmpty() && !isPictureDue_ && !isPointerSeen()) return std::nullopt;
    isPictureDue_ = true;  // until there is one
    if (!grabber_.claimRoom()) return std::nullopt;

    const PixelRect kept{0, 0, contents_->width(), contents_->height()};
    RectList areas;
    for (const PixelRect& area : without(intersected(intersected(visible_, dirty_.take()), kept), unpainted))
        areas.push_back(area.translated(-seen_.x, -seen_.y));
    if (!grabber_.read(contents_->id(), seen_.x, seen_.y, areas, pointer_.get())) {
        contents_.reset();
        dirty_.add(wholeOf(bounds_));
        return std::nullopt;
    }
    grabber_.commit();
    auto picture = grabber_.finish(pointer_.get(), bounds_.x + seen_.x, bounds_.y + seen_.y);
    isPictureDue_ = !picture;
    return picture;
}

}  // namespace platform

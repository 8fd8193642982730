#include "Platform/Capture/Xcb/RedirectedWindow.hpp"

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <utility>

#include <libyuv.h>
#include <xcb/composite.h>
#include <xcb/shape.h>

namespace platform {

namespace {

/// A window that is being resized or hidden has no contents for a moment. The overlay of a compositing
/// manager never has any and shows nothing of its own: it is left out after so many attempts.
constexpr int refusalsUntilLeftOut = 20;

}  // namespace

RectList boundingShape(const XcbConnection& connection, const TopLevel& topLevel) {
    const PixelRect whole{0, 0, topLevel.bounds.width, topLevel.bounds.height};
    if (connection.extension(xcb_shape_id) == nullptr) return {whole};
    const auto answer =
        connection.reply(xcb_shape_get_rectangles_reply,
                         xcb_shape_get_rectangles(connection.get(), topLevel.window, XCB_SHAPE_SK_BOUNDING));
    if (!answer) return {whole};
    RectList shape;
    const xcb_rectangle_t* first = xcb_shape_get_rectangles_rectangles(answer.get());
    for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(answer.get()); ++i)
        shape.push_back(
            {first[i].x + topLevel.border, first[i].y + topLevel.border, first[i].width, first[i].height});
    return intersected(shape, whole);
}

RedirectedWindow::RedirectedWindow(XcbConnection& connection, const TopLevel& topLevel,
                                   const RectList& covered)
    : connection_(connection),
      topLevel_(topLevel),
      damage_(connection, topLevel.window, XCB_DAMAGE_REPORT_LEVEL_DELTA_RECTANGLES) {
    xcb_connection_t* c = connection_.get();
    // A compositing manager keeps the contents already; then all of it is painted.
    const bool isKept = nameContents();
    damage_.clear();
    redirection_ =
        xcb_composite_redirect_window(c, topLevel.window, XCB_COMPOSITE_REDIRECT_AUTOMATIC).sequence;
    if (const auto* shape = connection_.extension(xcb_shape_id)) {
        shapeEvent_ = shape->first_event + XCB_SHAPE_NOTIFY;
        xcb_shape_select_input(c, topLevel.window, 1);
    }
    readShape();
    if (!isKept) distrust(covered);
}

RedirectedWindow::~RedirectedWindow() {
    if (shapeEvent_ >= 0) xcb_shape_select_input(connection_.get(), topLevel_.window, 0);
    xcb_composite_unredirect_window(connection_.get(), topLevel_.window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void RedirectedWindow::readShape() {
    shape_ = boundingShape(connection_, topLevel_);
    // A window manager's frame may have an invisible rim.
    for (const xcb_window_t child : childrenOf(connection_, topLevel_.window)) {
        if (cardinals(connection_, child, connection_.atom("WM_STATE"), 1).empty()) continue;
        if (const auto bounds = framedBounds(connection_, child, topLevel_.window))
            shape_ = intersected(shape_, bounds->seen);
        return;
    }
}

void RedirectedWindow::distrust(const RectList& covered) {
    distrustedAt_ = HostClock().now();
    for (const PixelRect& hidden : covered)
        for (const PixelRect& part :
             intersected(shape_, hidden.translated(-topLevel_.bounds.x, -topLevel_.bounds.y))) {
            unpainted_ = without(unpainted_, part);
            unpainted_.push_back(part);
        }
}

bool RedirectedWindow::nameContents() {
    contents_ = NamedPixmap::of(connection_, topLevel_.window);
    return contents_.has_value();
}

std::optional<PixelRect> RedirectedWindow::handle(const xcb_generic_event_t& event) {
    if (const auto box = damage_.boxOf(event)) {
        // Relative to the window's inner top left.
        const PixelRect painted = box->translated(topLevel_.border, topLevel_.border);
        if (static_cast<std::int32_t>(event.full_sequence - redirection_) >= 0)
            unpainted_ = without(unpainted_, painted);
        return painted.translated(topLevel_.bounds.x, topLevel_.bounds.y);
    }
    if ((event.response_type & 0x7f) == shapeEvent_ &&
        reinterpret_cast<const xcb_shape_notify_event_t&>(event).affected_window == topLevel_.window) {
        readShape();
        return topLevel_.bounds;
    }
    return std::nullopt;
}

void RedirectedWindow::update(const TopLevel& topLevel, const RectList& covered) {
    const TopLevel before = std::exchange(topLevel_, topLevel);
    const bool isResized =
        before.bounds.width != topLevel.bounds.width || before.bounds.height != topLevel.bounds.height;
    if (!isResized && before.isShown == topLevel.isShown) return;
    contents_.reset();
    readShape();
    if (!topLevel.isShown) {
        unpainted_.clear();
        return;
    }
    // What a resized window keeps is moved over by the server; only what it gained has to be painted.
    RectList gained = covered;
    if (before.isShown)
        gained = without(gained,
                         {topLevel.bounds.x, topLevel.bounds.y, before.bounds.width, before.bounds.height});
    distrust(gained);
}

bool RedirectedWindow::isWaitingFor(const PixelRect& part) const {
    constexpr double patience = 0.2;  // seconds; a program that paints at all has done so by then
    return HostClock().now() < distrustedAt_ + patience &&
           !intersected(unpainted_, part.translated(-topLevel_.bounds.x, -topLevel_.bounds.y)).empty();
}

bool RedirectedWindow::draw(const PixelRect& part, const Plane& picture, int originX, int originY,
                            ShmBufferPool& scratch, bool isTranslucent) {
    const PixelRect seen = topLevel_.bounds.intersected(part);
    if (seen.isEmpty()) return true;
    if (!contents_ && !nameContents()) return ++refusals_ > refusalsUntilLeftOut;
    refusals_ = 0;
    if (!contents_->hasKnownPixels()) return true;
    const SegmentLease memory = scratch.borrow();
    if (!memory) return false;
    const PixelRect inside = seen.translated(-topLevel_.bounds.x, -topLevel_.bounds.y);
    const ImageRequest request =
        requestImage(connection_, contents_->id(), inside.x, inside.y, inside.width, inside.height, *memory);
    if (!awaitImage(connection_, request, *memory)) {
        contents_.reset();
        return false;
    }
    RectList drawn = intersected(shape_, inside);
    for (const PixelRect& hidden : unpainted_) drawn = without(drawn, hidden);
    const int stride = inside.width * 4;
    for (const PixelRect& area : drawn) {
        const std::uint8_t* from = memoryOf(*memory) +
                                   static_cast<std::ptrdiff_t>(area.y - inside.y) * stride +
                                   (area.x - inside.x) * 4;
        std::uint8_t* to =
            picture.data +
            static_cast<std::ptrdiff_t>(area.y + topLevel_.bounds.y - originY) * picture.stride +
            (area.x + topLevel_.bounds.x - originX) * 4;
        if (isTranslucent && contents_->hasAlpha())
            libyuv::ARGBBlend(from, stride, to, picture.stride, to, picture.stride, area.width, area.height);
        else
            libyuv::ARGBCopy(from, stride, to, picture.stride, area.width, area.height);
    }
    return true;
}

}  // namespace platform

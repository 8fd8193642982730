#include "Platform/Capture/Xcb/PointerOverlay.hpp"

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

namespace platform {

PointerOverlay::PointerOverlay(const XcbConnection& connection) : connection_(connection) {
    xcb_connection_t* c = connection.get();
    if (const auto* fixes = connection.extension(xcb_xfixes_id)) {
        if (connection.reply(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(c, 2, 0))) {
            cursorEvent_ = fixes->first_event + XCB_XFIXES_CURSOR_NOTIFY;
            xcb_xfixes_select_cursor_input(c, connection.root(),
                                           XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
        }
    }
    if (const auto* input = connection.extension(xcb_input_id)) {
        const auto version =
            connection.reply(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(c, 2, 1));
        if (version && version->major_version >= 2) {
            inputOpcode_ = input->major_opcode;
            const struct {
                xcb_input_event_mask_t head;
                std::uint32_t mask;
            } motion{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
            xcb_input_xi_select_events(c, connection.root(), 1, &motion.head);
        }
    }
}

void PointerOverlay::handle(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == cursorEvent_) {
        announcedSerial_ = reinterpret_cast<const xcb_xfixes_cursor_notify_event_t&>(event).cursor_serial;
        hasChanged_ = isShapeStale_ = true;
    } else if (type == XCB_GE_GENERIC) {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension == inputOpcode_ && generic.event_type == XCB_INPUT_RAW_MOTION)
            hasChanged_ = true;
    }
}

void PointerOverlay::query() {
    hasChanged_ = false;
    asked_ = xcb_query_pointer(connection_.get(), connection_.root());
}

void PointerOverlay::update() {
    if (const auto now = connection_.reply(xcb_query_pointer_reply, asked_)) {
        x_ = now->root_x;
        y_ = now->root_y;
    }
    if (isShapeStale_) learnShape();
}

void PointerOverlay::learnShape() {
    isShapeStale_ = false;
    const auto known = shapes_.find(announcedSerial_);
    if (known != shapes_.end()) {
        shape_ = &known->second;
        return;
    }
    if (cursorEvent_ < 0) return;
    const auto image =
        connection_.reply(xcb_xfixes_get_cursor_image_reply, xcb_xfixes_get_cursor_image(connection_.get()));
    if (!image) return;
    // Animated pointers come round again; programs that make ever new ones must not fill the memory.
    constexpr std::size_t maxShapes = 64;
    if (shapes_.size() >= maxShapes) shapes_.clear();
    const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(image.get());
    const std::size_t count = static_cast<std::size_t>(image->width) * image->height;
    CursorImage shape{image->width, image->height, image->xhot, image->yhot, {pixels, pixels + count}};
    shape_ = &shapes_.insert_or_assign(image->cursor_serial, std::move(shape)).first->second;
}

PixelRect PointerOverlay::bounds() const {
    return shape_ == nullptr ? PixelRect{} : shape_->boundsAt(x_, y_);
}

FrameMaker::Cursor PointerOverlay::cursorIn(const PixelRect& area) {
    drawn_ = bounds().intersected(area);
    return {shape_, x_ - area.x, y_ - area.y};
}

}  // namespace platform

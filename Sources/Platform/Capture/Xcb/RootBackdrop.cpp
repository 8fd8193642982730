#include "Platform/Capture/Xcb/RootBackdrop.hpp"

#include "Platform/Xcb/XcbWindows.hpp"

#include <libyuv.h>
#include <xcb/composite.h>

namespace platform {

namespace {

/// The pixmap that is tiled over the root; XCB_NONE when none is known.
xcb_pixmap_t backdropPixmap(XcbConnection& connection) {
    for (const char* property : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
        const auto values = cardinals(connection, connection.root(), connection.atom(property), 1);
        if (values.empty() || values.front() == XCB_NONE) continue;
        const auto size =
            connection.reply(xcb_get_geometry_reply, xcb_get_geometry(connection.get(), values.front()));
        if (size && size->depth == connection.screen().root_depth) return values.front();
    }
    return XCB_NONE;
}

/// Has the server tile the part and reads it.
bool readTiled(const XcbConnection& connection, xcb_pixmap_t tile, const PixelRect& part,
               ShmSegment& memory) {
    xcb_connection_t* c = connection.get();
    const auto width = static_cast<std::uint16_t>(part.width),
               height = static_cast<std::uint16_t>(part.height);
    const xcb_pixmap_t tiled = xcb_generate_id(c);
    xcb_create_pixmap(c, connection.screen().root_depth, tiled, connection.root(), width, height);
    const xcb_gcontext_t brush = xcb_generate_id(c);
    const std::uint32_t values[] = {XCB_FILL_STYLE_TILED, tile, static_cast<std::uint32_t>(-part.x),
                                    static_cast<std::uint32_t>(-part.y)};
    xcb_create_gc(
        c, brush, tiled,
        XCB_GC_FILL_STYLE | XCB_GC_TILE | XCB_GC_TILE_STIPPLE_ORIGIN_X | XCB_GC_TILE_STIPPLE_ORIGIN_Y,
        values);
    const xcb_rectangle_t whole{0, 0, width, height};
    xcb_poly_fill_rectangle(c, tiled, brush, 1, &whole);
    const ImageRequest request = requestImage(connection, tiled, 0, 0, part.width, part.height, memory);
    xcb_free_gc(c, brush);
    xcb_free_pixmap(c, tiled);
    return awaitImage(connection, request, memory);
}

}  // namespace

/// Has the server paint its background in a window that is redirected, and so not on the screen.
bool RootBackdrop::readPainted(const PixelRect& part, ShmSegment& memory) const {
    xcb_connection_t* c = connection_.get();
    const std::uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, probe_, connection_.root(), static_cast<std::int16_t>(part.x),
                      static_cast<std::int16_t>(part.y), static_cast<std::uint16_t>(part.width),
                      static_cast<std::uint16_t>(part.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
    const auto redirection = xcb_composite_redirect_window_checked(c, probe_, XCB_COMPOSITE_REDIRECT_MANUAL);
    bool isRead = false;
    if (connection_.succeeded(redirection)) {
        const std::uint32_t below = XCB_STACK_MODE_BELOW;
        xcb_configure_window(c, probe_, XCB_CONFIG_WINDOW_STACK_MODE, &below);
        xcb_map_window(c, probe_);
        const xcb_pixmap_t painted = xcb_generate_id(c);
        xcb_composite_name_window_pixmap(c, probe_, painted);
        const ImageRequest request =
            requestImage(connection_, painted, 0, 0, part.width, part.height, memory);
        xcb_free_pixmap(c, painted);
        xcb_unmap_window(c, probe_);
        isRead = awaitImage(connection_, request, memory);
    }
    xcb_destroy_window(c, probe_);
    return isRead;
}

void RootBackdrop::draw(const PixelRect& part, const Plane& picture, int originX, int originY,
                        ShmBufferPool& scratch, bool isComposited) {
    std::uint8_t* to = picture.data + static_cast<std::ptrdiff_t>(part.y - originY) * picture.stride +
                       static_cast<std::ptrdiff_t>(part.x - originX) * 4;
    const xcb_pixmap_t tile = backdropPixmap(connection_);
    const SegmentLease memory = scratch.borrow();
    const bool isRead = memory && ((tile != XCB_NONE && readTiled(connection_, tile, part, *memory)) ||
                                   (!isComposited && readPainted(part, *memory)));
    constexpr std::uint32_t opaqueBlack = 0xff000000;
    if (isRead)
        libyuv::ARGBCopy(memoryOf(*memory), part.width * 4, to, picture.stride, part.width, part.height);
    else if (isComposited)
        libyuv::ARGBRect(to, picture.stride, 0, 0, part.width, part.height, opaqueBlack);
}

}  // namespace platform

#include "Platform/Capture/Xcb/RootBackdrop.hpp"

#include "Platform/Desktop/Xcb/XcbWindows.hpp"

#include <libyuv.h>

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
               SharedSegment& memory) {
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

void drawRootBackdrop(XcbConnection& connection, const PixelRect& part, const Plane& picture, int originX,
                      int originY, SharedFrames& scratch) {
    std::uint8_t* to = picture.data + static_cast<std::ptrdiff_t>(part.y - originY) * picture.stride +
                       static_cast<std::ptrdiff_t>(part.x - originX) * 4;
    const xcb_pixmap_t tile = backdropPixmap(connection);
    const SegmentLease memory = tile == XCB_NONE ? nullptr : scratch.borrow();
    if (memory && readTiled(connection, tile, part, *memory)) {
        libyuv::ARGBCopy(memoryOf(*memory), part.width * 4, to, picture.stride, part.width, part.height);
        return;
    }
    constexpr std::uint32_t opaqueBlack = 0xff000000;
    libyuv::ARGBRect(to, picture.stride, 0, 0, part.width, part.height, opaqueBlack);
}

}  // namespace platform

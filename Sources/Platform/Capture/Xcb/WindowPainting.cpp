#include "Platform/Capture/Xcb/WindowPainting.hpp"

#include "Platform/Capture/Xcb/RedirectedWindow.hpp"

#include <algorithm>
#include <cstring>

namespace platform {

std::uint32_t requestPaint(XcbConnection& connection, xcb_window_t window, bool withBackgrounds) {
    xcb_connection_t* c = connection.get();
    const auto geometry = xcb_get_geometry(c, window);
    if (withBackgrounds) xcb_clear_area(c, 1, window, 0, 0, 0, 0);
    const auto size = connection.reply(xcb_get_geometry_reply, geometry);
    if (!withBackgrounds && size) {
        // An event of our own making, so that the server itself paints nothing and nothing flickers.
        xcb_expose_event_t expose{};
        expose.response_type = XCB_EXPOSE;
        expose.window = window;
        expose.width = size->width;
        expose.height = size->height;
        char event[32] = {};
        std::memcpy(event, &expose, sizeof expose);
        xcb_send_event(c, 0, window, XCB_EVENT_MASK_EXPOSURE, event);
    }
    for (const xcb_window_t child : childrenOf(connection, window))
        requestPaint(connection, child, withBackgrounds);
    return geometry.sequence;
}

RectList coveredParts(XcbConnection& connection, xcb_window_t frame, const PixelRect& frameBounds) {
    RectList covered = without(RectList{PixelRect{0, 0, frameBounds.width, frameBounds.height}},
                               PixelRect{-frameBounds.x, -frameBounds.y, connection.screen().width_in_pixels,
                                         connection.screen().height_in_pixels});
    const auto stack = childrenOf(connection, connection.root());
    for (auto above = std::find(stack.begin(), stack.end(), frame); above != stack.end(); ++above) {
        const auto attributes = connection.reply(xcb_get_window_attributes_reply,
                                                 xcb_get_window_attributes(connection.get(), *above));
        if (*above == frame || !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
            continue;
        const auto geometry =
            connection.reply(xcb_get_geometry_reply, xcb_get_geometry(connection.get(), *above));
        if (!geometry) continue;
        const PixelRect bounds = outerBounds(*geometry);
        for (const PixelRect& part :
             boundingShape(connection, {*above, bounds, geometry->border_width, true}))
            covered.push_back(part.translated(bounds.x - frameBounds.x, bounds.y - frameBounds.y));
    }
    return covered;
}

}  // namespace platform

#include "Platform/Desktop/Xcb/XcbWindows.hpp"

namespace platform {

PixelRect ShadowExtents::cutFrom(const PixelRect& bounds) const {
    const PixelRect rest{bounds.x + left, bounds.y + top, bounds.width - left - right,
                         bounds.height - top - bottom};
    return rest.isEmpty() || !bounds.contains(rest) ? bounds : rest;
}

xcb_window_t frameOf(const XcbConnection& connection, xcb_window_t window) {
    for (;;) {
        const auto tree = connection.reply(xcb_query_tree_reply, xcb_query_tree(connection.get(), window));
        if (!tree || tree->parent == XCB_NONE) return XCB_NONE;
        if (tree->parent == tree->root) return window;
        window = tree->parent;
    }
}

PixelRect outerBounds(const xcb_get_geometry_reply_t& geometry) {
    // The position is that of the border's outer corner already.
    return {geometry.x, geometry.y, geometry.width + 2 * geometry.border_width,
            geometry.height + 2 * geometry.border_width};
}

std::optional<PixelRect> outerBounds(const XcbConnection& connection, xcb_window_t frame) {
    const auto geometry = connection.reply(xcb_get_geometry_reply, xcb_get_geometry(connection.get(), frame));
    if (!geometry) return std::nullopt;
    return outerBounds(*geometry);
}

std::vector<std::uint32_t> cardinals(const XcbConnection& connection, xcb_window_t window,
                                     xcb_atom_t property, std::uint32_t limit) {
    const auto value = connection.reply(
        xcb_get_property_reply,
        xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, limit));
    if (!value || value->format != 32) return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(value.get()));
    return {first, first + value->value_len};
}

std::string textProperty(const XcbConnection& connection, xcb_window_t window, xcb_atom_t property) {
    const auto value = connection.reply(
        xcb_get_property_reply,
        xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024));
    if (!value || value->format != 8) return {};
    return {static_cast<const char*>(xcb_get_property_value(value.get())), value->value_len};
}

ShadowExtents shadowExtents(XcbConnection& connection, xcb_window_t client) {
    const auto values = cardinals(connection, client, connection.atom("_GTK_FRAME_EXTENTS"), 4);
    constexpr std::uint32_t largest = 1U << 15;  // windows are no larger
    if (values.size() != 4) return {};
    for (const std::uint32_t value : values)
        if (value > largest) return {};
    return {static_cast<int>(values[0]), static_cast<int>(values[1]), static_cast<int>(values[2]),
            static_cast<int>(values[3])};
}

xcb_window_t selectionOwner(const XcbConnection& connection, xcb_atom_t selection) {
    const auto answer =
        connection.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.get(), selection));
    return answer ? answer->owner : XCB_NONE;
}

std::vector<xcb_window_t> childrenOf(const XcbConnection& connection, xcb_window_t window) {
    const auto tree = connection.reply(xcb_query_tree_reply, xcb_query_tree(connection.get(), window));
    if (!tree) return {};
    const xcb_window_t* first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

}  // namespace platform

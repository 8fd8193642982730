#include "Platform/Xcb/XcbWindows.hpp"

namespace platform {

namespace {

/// Widths along the four sides of a window, in the order of the properties that announce them.
struct Extents {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
};

xcb_get_property_cookie_t queryExtents(XcbConnection& connection, xcb_window_t client, const char* name) {
    return xcb_get_property(connection.get(), 0, client, connection.atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0,
                            4);
}

std::optional<Extents> extentsFrom(const XcbConnection& connection, xcb_get_property_cookie_t asked) {
    const auto value = connection.reply(xcb_get_property_reply, asked);
    if (!value || value->format != 32 || value->value_len != 4) return std::nullopt;
    const auto* sides = static_cast<const std::uint32_t*>(xcb_get_property_value(value.get()));
    constexpr std::uint32_t largest = 1U << 15;  // windows are no larger
    for (int i = 0; i < 4; ++i)
        if (sides[i] > largest) return std::nullopt;
    return Extents{static_cast<int>(sides[0]), static_cast<int>(sides[1]), static_cast<int>(sides[2]),
                   static_cast<int>(sides[3])};
}

/// The rectangle without its sides; unchanged when nothing would remain.
PixelRect cutFrom(const PixelRect& bounds, const Extents& sides) {
    const PixelRect rest{bounds.x + sides.left, bounds.y + sides.top, bounds.width - sides.left - sides.right,
                         bounds.height - sides.top - sides.bottom};
    return rest.isEmpty() ? bounds : rest;
}

}  // namespace

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

namespace {

bool isUtf8(const std::string& text) {
    std::size_t following = 0;
    for (const char byte : text) {
        const auto bits = static_cast<unsigned char>(byte);
        if (following > 0) {
            if (bits >> 6 != 2) return false;
            --following;
        } else if (bits >= 0x80) {
            following = bits >> 5 == 6 ? 1 : bits >> 4 == 14 ? 2 : bits >> 3 == 30 ? 3 : 99;
            if (following == 99) return false;
        }
    }
    return following == 0;
}

}  // namespace

std::string utf8OfCompoundText(const std::string& text) {
    std::string result;
    enum class Upper { latin1, hebrew, other } upper = Upper::latin1;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == 0x1b) {
            const std::string mark = text.substr(i + 1, 2);
            if (mark == "%G") {
                const std::size_t end = text.find("\x1b%@", i + 3);
                result += text.substr(i + 3, end == text.npos ? text.npos : end - i - 3);
                i = end == text.npos ? text.size() : end + 2;
                continue;
            }
            // The set of the upper half: '-' and a letter. Everything else ends with its first letter.
            if (mark.size() == 2 && mark[0] == '-')
                upper = mark[1] == 'A' ? Upper::latin1 : mark[1] == 'H' ? Upper::hebrew : Upper::other;
            ++i;
            while (i < text.size() && text[i] >= 0x20 && text[i] <= 0x2f) ++i;
            continue;
        }
        if (byte < 0x80) {
            if (byte >= 0x20) result += text[i];
            continue;
        }
        unsigned letter = byte;
        if (upper == Upper::other) continue;
        if (upper == Upper::hebrew && byte >= 0xe0 && byte <= 0xfa) letter = 0x05d0U + byte - 0xe0U;
        result += static_cast<char>(0xc0 | letter >> 6);
        result += static_cast<char>(0x80 | (letter & 0x3f));
    }
    return result;
}

std::string textProperty(const XcbConnection& connection, xcb_window_t window, xcb_atom_t property) {
    const auto value = connection.reply(
        xcb_get_property_reply,
        xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024));
    if (!value || value->format != 8) return {};
    static const std::string compoundName = "COMPOUND_TEXT";
    const auto compound =
        connection.reply(xcb_intern_atom_reply,
                         xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(compoundName.size()),
                                         compoundName.data()));
    const xcb_atom_t compoundText = compound ? compound->atom : XCB_NONE;
    const std::string text(static_cast<const char*>(xcb_get_property_value(value.get())), value->value_len);
    // Latin-1 is compound text without marks. Programs that call their UTF-8 so are understood, too.
    return value->type == compoundText || (value->type == XCB_ATOM_STRING && !isUtf8(text))
               ? utf8OfCompoundText(text)
               : text;
}

std::optional<FramedBounds> framedBounds(XcbConnection& connection, xcb_window_t client, xcb_window_t frame) {
    xcb_connection_t* c = connection.get();
    const auto frameCookie = xcb_get_geometry(c, frame), clientCookie = xcb_get_geometry(c, client);
    const auto placeCookie = xcb_translate_coordinates(c, client, frame, 0, 0);
    const auto decorationCookie = queryExtents(connection, client, "_NET_FRAME_EXTENTS");
    const auto shadowCookie = queryExtents(connection, client, "_GTK_FRAME_EXTENTS");
    const auto geometry = connection.reply(xcb_get_geometry_reply, frameCookie);
    const auto inner = connection.reply(xcb_get_geometry_reply, clientCookie);
    const auto place = connection.reply(xcb_translate_coordinates_reply, placeCookie);
    const auto decoration = extentsFrom(connection, decorationCookie);
    const auto shadow = extentsFrom(connection, shadowCookie);
    if (!geometry || !inner || !place) return std::nullopt;

    const PixelRect outer = outerBounds(*geometry), whole{0, 0, outer.width, outer.height};
    PixelRect seen = whole;
    if (decoration && client != frame) {
        const int border = geometry->border_width;
        const PixelRect body{place->dst_x + border, place->dst_y + border, inner->width, inner->height};
        const PixelRect decorated = PixelRect{body.x - decoration->left, body.y - decoration->top,
                                              body.width + decoration->left + decoration->right,
                                              body.height + decoration->top + decoration->bottom}
                                        .intersected(whole);
        if (!decorated.isEmpty()) seen = decorated;
    }
    if (shadow) seen = cutFrom(seen, *shadow);
    return FramedBounds{outer, seen};
}

xcb_window_t selectionOwner(const XcbConnection& connection, xcb_atom_t selection) {
    const auto answer =
        connection.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.get(), selection));
    return answer ? answer->owner : XCB_NONE;
}

bool isComposited(XcbConnection& connection) {
    return selectionOwner(connection, connection.atom("_NET_WM_CM_S0")) != XCB_NONE;
}

std::vector<xcb_window_t> childrenOf(const XcbConnection& connection, xcb_window_t window) {
    const auto tree = connection.reply(xcb_query_tree_reply, xcb_query_tree(connection.get(), window));
    if (!tree) return {};
    const xcb_window_t* first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

}  // namespace platform

#include "Platform/Desktop/Xcb/XcbWindowManager.hpp"

#include "Platform/Xcb/XcbMonitors.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace platform {
namespace {

/// Of a request: the user asks, not the program by itself.
constexpr std::uint32_t fromUser = 2;

PixelRect pixels(const Rect& rect) {
    return {static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.w),
            static_cast<int>(rect.h)};
}

/// What is left of the area when the strut takes one of its edges; a strut that would take most
/// of it belongs to another screen that lies beyond this one.
PixelRect without(const PixelRect& area, const PixelRect& strut) {
    const PixelRect common = area.intersected(strut);
    if (common.isEmpty()) return area;
    PixelRect rest = area;
    if (common.width >= common.height) {
        const bool atTop = strut.y <= area.y;
        rest.y = atTop ? common.maxY() : area.y;
        rest.height = area.height - common.height;
    } else {
        const bool atLeft = strut.x <= area.x;
        rest.x = atLeft ? common.maxX() : area.x;
        rest.width = area.width - common.width;
    }
    return rest.width * 2 < area.width || rest.height * 2 < area.height ? area : rest;
}

/// The numbers of a strut: how far it reaches in from the left, right, top and bottom edge and, if told, from
/// where to where along each.
void addStruts(const std::vector<std::uint32_t>& numbers, const PixelRect& all,
               std::vector<PixelRect>& found) {
    int v[12]{0, 0, 0, 0, 0, all.height - 1, 0, all.height - 1, 0, all.width - 1, 0, all.width - 1};
    constexpr std::uint32_t largest = 1U << 15;  // screens are no larger
    for (std::size_t i = 0; i < std::min<std::size_t>(numbers.size(), 12); ++i)
        v[i] = static_cast<int>(std::min(numbers[i], largest));
    for (const PixelRect& strut :
         {PixelRect{0, v[4], v[0], v[5] - v[4] + 1}, PixelRect{all.width - v[1], v[6], v[1], v[7] - v[6] + 1},
          PixelRect{v[8], 0, v[9] - v[8] + 1, v[2]},
          PixelRect{v[10], all.height - v[3], v[11] - v[10] + 1, v[3]}})
        if (!strut.isEmpty()) found.push_back(strut);
}

}  // namespace

XcbWindowManager::XcbWindowManager(const std::string& displayName)
    : connection_(displayName), clockWindow_(xcb_generate_id(connection_.get())) {
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection_.get(), 0, clockWindow_, connection_.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
}

bool XcbWindowManager::supports(const std::string& hint) {
    const auto hints = cardinals(connection_, connection_.root(), connection_.atom("_NET_SUPPORTED"), 1024);
    return std::ranges::find(hints, connection_.atom(hint)) != hints.end();
}

xcb_timestamp_t XcbWindowManager::serverTime() {
    xcb_connection_t* c = connection_.get();
    xcb_change_property(c, XCB_PROP_MODE_APPEND, clockWindow_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(c);
    while (const XcbEvent event{xcb_wait_for_event(c)})
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t&>(*event).time;
    return XCB_CURRENT_TIME;
}

void XcbWindowManager::sendClientMessage(std::uint32_t window, const char* what,
                                         const std::array<std::uint32_t, 5>& data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection_.atom(what);
    std::ranges::copy(data, message.data.data32);
    xcb_send_event(connection_.get(), 0, connection_.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

void XcbWindowManager::skipTaskBar(std::uint32_t window) {
    constexpr std::uint32_t add = 1;
    sendClientMessage(window, "_NET_WM_STATE",
                      {add, connection_.atom("_NET_WM_STATE_SKIP_TASKBAR"),
                       connection_.atom("_NET_WM_STATE_SKIP_PAGER"), fromUser});
    xcb_flush(connection_.get());
}

void XcbWindowManager::activate(std::uint32_t window) {
    xcb_connection_t* c = connection_.get();
    const xcb_timestamp_t now = serverTime();
    // A manager that compares times puts a window behind whose user was last seen long ago.
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, connection_.atom("_NET_WM_USER_TIME"),
                        XCB_ATOM_CARDINAL, 32, 1, &now);
    if (supports("_NET_ACTIVE_WINDOW")) {
        sendClientMessage(window, "_NET_ACTIVE_WINDOW", {fromUser, now});
    } else {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(c, XCB_INPUT_FOCUS_PARENT, window, now);
    }
    xcb_flush(c);
}

void XcbWindowManager::preferDark(std::uint32_t window) {
    constexpr std::string_view variant = "dark";
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window,
                        connection_.atom("_GTK_THEME_VARIANT"), connection_.atom("UTF8_STRING"), 8,
                        static_cast<std::uint32_t>(variant.size()), variant.data());
    xcb_flush(connection_.get());
}

std::vector<PixelRect> XcbWindowManager::struts() {
    xcb_connection_t* c = connection_.get();
    std::vector<xcb_window_t> windows = childrenOf(connection_, connection_.root());
    // A dock stands in a frame with some managers and by itself with others.
    std::vector<xcb_query_tree_cookie_t> trees;
    for (const xcb_window_t frame : windows) trees.push_back(xcb_query_tree(c, frame));
    for (const auto& cookie : trees)
        if (const auto tree = connection_.reply(xcb_query_tree_reply, cookie))
            windows.insert(windows.end(), xcb_query_tree_children(tree.get()),
                           xcb_query_tree_children(tree.get()) + xcb_query_tree_children_length(tree.get()));
    const xcb_atom_t partial = connection_.atom("_NET_WM_STRUT_PARTIAL"),
                     whole = connection_.atom("_NET_WM_STRUT");
    const auto queryStrut = [&](xcb_window_t window, xcb_atom_t property) {
        return xcb_get_property(c, 0, window, property, XCB_ATOM_CARDINAL, 0, 12);
    };
    std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> cookies;
    for (const xcb_window_t window : windows)
        cookies.emplace_back(queryStrut(window, partial), queryStrut(window, whole));

    const auto root = connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(c, connection_.root()));
    const PixelRect all{0, 0, root ? root->width : 0, root ? root->height : 0};
    std::vector<PixelRect> found;
    for (const auto& [first, second] : cookies) {
        const auto precise = connection_.reply(xcb_get_property_reply, first);
        const auto simple = connection_.reply(xcb_get_property_reply, second);
        const auto* value = precise && precise->value_len == 12 ? precise.get() : simple.get();
        if (value == nullptr || value->format != 32 || value->value_len < 4) continue;
        const auto* words = static_cast<const std::uint32_t*>(xcb_get_property_value(value));
        addStruts({words, words + value->value_len}, all, found);
    }
    return found;
}

std::vector<PixelRect> XcbWindowManager::rectangles(const std::string& property) {
    const auto values = cardinals(connection_, connection_.root(), connection_.atom(property), 4 * 64);
    std::vector<PixelRect> found;
    for (std::size_t i = 0; i + 4 <= values.size(); i += 4)
        found.push_back({static_cast<int>(values[i]), static_cast<int>(values[i + 1]),
                         static_cast<int>(values[i + 2]), static_cast<int>(values[i + 3])});
    return found;
}

Rect XcbWindowManager::workArea(const Rect& screen) {
    const PixelRect area = pixels(screen);
    const auto desktops =
        cardinals(connection_, connection_.root(), connection_.atom("_NET_CURRENT_DESKTOP"), 1);
    const std::size_t current = desktops.empty() ? 0 : desktops.front();

    PixelRect room = area;
    for (const PixelRect& strut : struts()) room = without(room, strut);
    // Some shells tell it by screen.
    PixelRect told;
    for (const PixelRect& rect : rectangles("_GTK_WORKAREAS_D" + std::to_string(current))) {
        const PixelRect common = rect.intersected(area);
        if (common.width * common.height > told.width * told.height) told = common;
    }
    if (!told.isEmpty()) {
        room = room.intersected(told);
    } else if (const auto areas = rectangles("_NET_WORKAREA"); current < areas.size()) {
        // One rectangle for all screens: with several it says something only where nobody has said more,
        // as with a bar that is the manager's own.
        const PixelRect common = areas[current].intersected(area);
        const bool plausible = common.width * common.height * 4 >= area.width * area.height * 3;
        if (readMonitors(connection_).size() == 1 || (room == area && plausible))
            room = room.intersected(common);
    }
    if (room.isEmpty()) room = area;
    return {static_cast<double>(room.x), static_cast<double>(room.y), static_cast<double>(room.width),
            static_cast<double>(room.height)};
}

}  // namespace platform

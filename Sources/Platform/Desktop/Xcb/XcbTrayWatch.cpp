#include "Platform/Desktop/Xcb/XcbTrayWatch.hpp"

#include "Platform/Xcb/XcbWindows.hpp"

#include <utility>

#include <xcb/xfixes.h>

namespace platform {
namespace {

/// The selection of the first screen's tray, as the system tray protocol names it.
xcb_atom_t traySelection(XcbConnection& connection) { return connection.atom("_NET_SYSTEM_TRAY_S0"); }

/// Without the extension nothing is ever reported: no tray at the start means no tray.
XcbConnection watchingConnection(const std::string& displayName) {
    XcbConnection connection(displayName);
    if (connection.extension(xcb_xfixes_id) == nullptr) return connection;
    connection.reply(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection.get(), 5, 0));
    connection.succeeded(xcb_xfixes_select_selection_input_checked(
        connection.get(), connection.root(), traySelection(connection),
        XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
            XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
            XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE));
    return connection;
}

bool isTrayChange(const XcbConnection& connection, const xcb_generic_event_t& event) {
    const auto* xfixes = connection.extension(xcb_xfixes_id);
    return xfixes != nullptr &&
           (event.response_type & 0x7f) == xfixes->first_event + XCB_XFIXES_SELECTION_NOTIFY;
}

}  // namespace

XcbTrayWatch::XcbTrayWatch(MainLoop& mainLoop, std::function<void()> changed, const std::string& displayName)
    : connection_(displayName),
      events_(watchingConnection(displayName), isTrayChange, mainLoop, std::move(changed)) {}

bool XcbTrayWatch::hasTray() { return selectionOwner(connection_, traySelection(connection_)) != XCB_NONE; }

bool XcbTrayWatch::holds(std::uint32_t window) {
    const xcb_window_t frame = frameOf(connection_, window);
    return frame != XCB_NONE && frame != window;
}

}  // namespace platform

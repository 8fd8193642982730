#pragma once

#include "Platform/Xcb/XcbConnection.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include <xcb/xtest.h>

namespace platform::test {

/// Presses or releases a key or a button by its number, or moves the pointer to a place of the root, as a
/// hand does. Returns once the server has taken it.
inline void fakeInput(XcbConnection& server, std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0) {
    xcb_test_fake_input(server.get(), type, detail, XCB_CURRENT_TIME, server.root(),
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    server.reply(xcb_get_input_focus_reply, xcb_get_input_focus(server.get()));
}
inline void movePointer(XcbConnection& server, int x, int y) {
    fakeInput(server, XCB_MOTION_NOTIFY, 0, x, y);
}

/// Asks the window manager for something that is about this window.
inline void sendToManager(XcbConnection& server, xcb_window_t window, const std::string& what,
                          const std::vector<std::uint32_t>& values) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = server.atom(what);
    std::ranges::copy(values, message.data.data32);
    xcb_send_event(server.get(), 0, server.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(server.get());
}

}  // namespace platform::test

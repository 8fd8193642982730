#include "Platform/Xcb/XcbRawInput.hpp"

#include <utility>

#include <xcb/xinput.h>

namespace platform {

bool watchRawInput(const XcbConnection& connection, std::uint32_t mask) {
    if (connection.extension(xcb_input_id) == nullptr) return false;
    // From 2.1 on raw events come through other programs' grabs.
    const auto version = connection.reply(xcb_input_xi_query_version_reply,
                                          xcb_input_xi_query_version(connection.get(), 2, 1));
    if (!version || std::pair(version->major_version, version->minor_version) <
                        std::pair<std::uint16_t, std::uint16_t>(2, 1))
        return false;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } const wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
    return connection.succeeded(
        xcb_input_xi_select_events_checked(connection.get(), connection.root(), 1, &wanted.head));
}

}  // namespace platform

#include "Platform/Desktop/Xcb/XcbScreenInhibitor.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <utility>

#include <xcb/screensaver.h>

namespace platform {

namespace {

struct Suspended final : Inhibition {
    explicit Suspended(XcbConnection&& server) : connection(std::move(server)) {}
    XcbConnection connection;
};

bool canSuspend(const XcbConnection& connection) {
    const auto* extension = connection.extension(xcb_screensaver_id);
    if (!extension || !extension->present) return false;
    const auto version =
        connection.reply(xcb_screensaver_query_version_reply,
                         xcb_screensaver_query_version(connection.get(), XCB_SCREENSAVER_MAJOR_VERSION,
                                                       XCB_SCREENSAVER_MINOR_VERSION));
    return version && (version->server_major_version > 1 || version->server_minor_version >= 1);
}

}  // namespace

std::unique_ptr<Inhibition> XcbScreenInhibitor::inhibit(const std::string&) {
    try {
        XcbConnection connection;
        if (!canSuspend(connection)) return nullptr;
        if (!connection.succeeded(xcb_screensaver_suspend_checked(connection.get(), true))) return nullptr;
        return std::make_unique<Suspended>(std::move(connection));
    } catch (const PlatformError&) {
        return nullptr;  // no server, no screen to blank
    }
}

Inhibitor::Offer XcbScreenInhibitor::offer() {
    try {
        const XcbConnection connection;
        if (canSuspend(connection)) return {"", "the X server"};
    } catch (const PlatformError&) {
    }
    return {};
}

}  // namespace platform

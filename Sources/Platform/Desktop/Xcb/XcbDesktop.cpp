#include "Platform/Desktop/Xcb/XcbDesktop.hpp"

#include "Platform/Xcb/XcbMonitors.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <map>

#include <xcb/xinput.h>

namespace platform {

namespace {

/// The bit of an X button, from 1 up; -1 for the four that are the wheel's directions.
int bitOfButton(int button) {
    switch (button) {
        case 1:
            return 0;
        case 2:
            return 2;
        case 3:
            return 1;
        default:
            return button < 8 ? -1 : button - 5;
    }
}

/// The buttons of X's masks, in which bit N stands for button N.
std::int64_t buttonBits(std::uint64_t mask) {
    std::int64_t bits = 0;
    for (int button = 1; button < 64; ++button) {
        const int bit = bitOfButton(button);
        if (bit >= 0 && (mask >> button & 1) != 0) bits |= std::int64_t{1} << bit;
    }
    return bits;
}

}  // namespace

struct XcbDesktop::State {
    explicit State(const std::string& displayName) : connection(displayName) {
        if (connection.extension(xcb_input_id) != nullptr) {
            const auto version = connection.reply(xcb_input_xi_query_version_reply,
                                                  xcb_input_xi_query_version(connection.get(), 2, 0));
            // The server chooses a client's pointer when it is first asked about.
            connection.reply(xcb_query_pointer_reply, xcb_query_pointer(connection.get(), connection.root()));
            const auto device =
                version && version->major_version >= 2
                    ? connection.reply(xcb_input_xi_get_client_pointer_reply,
                                       xcb_input_xi_get_client_pointer(connection.get(), XCB_NONE))
                    : nullptr;
            if (device) pointerDevice = device->deviceid;
        }
        watchMonitors(connection);
        monitors = readMonitors(connection);
    }

    void updateMonitors() {
        bool changed = false;
        while (const XcbEvent event{xcb_poll_for_event(connection.get())})
            changed = changed || isMonitorChange(connection, *event);
        if (changed) monitors = readMonitors(connection);
    }

    PixelRect mainArea() const { return monitors.empty() ? PixelRect{} : monitors.front().area; }

    /// Every button of the pointer, and its position in fractions of a pixel.
    bool queryPointerDevice() {
        const auto now =
            connection.reply(xcb_input_xi_query_pointer_reply,
                             xcb_input_xi_query_pointer(connection.get(), connection.root(), pointerDevice));
        if (!now) return false;
        const std::uint32_t* words = xcb_input_xi_query_pointer_buttons(now.get());
        std::uint64_t mask = 0;
        for (int i = 0; i < now->buttons_len && i < 2; ++i)
            mask |= static_cast<std::uint64_t>(words[i]) << (32 * i);
        constexpr double fixedPoint = 65536;
        remember(now->root_x / fixedPoint, now->root_y / fixedPoint, mask);
        return true;
    }

    bool queryCorePointer() {
        const auto now =
            connection.reply(xcb_query_pointer_reply, xcb_query_pointer(connection.get(), connection.root()));
        if (!now) return false;
        // Button 1 is bit 8 of the core mask, which ends with button 5.
        remember(now->root_x, now->root_y, static_cast<std::uint64_t>(now->mask >> 7 & 0x3e));
        return true;
    }

    /// Upwards, a screen ends before its top edge: the pointer on its uppermost row of pixels is told a hair
    /// below that edge, or it would be on the screen beyond.
    void remember(double rootX, double rootY, std::uint64_t buttonMask) {
        const PixelRect main = mainArea();
        constexpr double hair = 1.0 / 1024;
        last = {rootX - main.x, main.height - (rootY - main.y) - hair, buttonBits(buttonMask)};
    }

    /// Where the window is now. Absent when it is not (any longer) the shown frame of the
    /// window.
    std::optional<PixelRect> boundsWithin(xcb_window_t window, xcb_window_t frame) {
        xcb_connection_t* c = connection.get();
        const auto treeCookie = xcb_query_tree(c, frame);
        const auto attributesCookie = xcb_get_window_attributes(c, window);
        const auto tree = connection.reply(xcb_query_tree_reply, treeCookie);
        const auto attributes = connection.reply(xcb_get_window_attributes_reply, attributesCookie);
        if (!tree || !attributes || tree->parent != tree->root ||
            attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            return std::nullopt;
        const auto bounds = framedBounds(connection, window, frame);
        return bounds ? std::optional(bounds->seenOnRoot()) : std::nullopt;
    }

    XcbConnection connection;
    xcb_input_device_id_t pointerDevice = 0;
    std::vector<XcbMonitor> monitors;
    std::map<std::uint32_t, xcb_window_t> frames;
    PointerState last;
};

XcbDesktop::XcbDesktop(const std::string& displayName) : state_(std::make_unique<State>(displayName)) {}
XcbDesktop::~XcbDesktop() = default;

PointerState XcbDesktop::pointer() {
    state_->updateMonitors();
    if (state_->pointerDevice == 0 || !state_->queryPointerDevice()) state_->queryCorePointer();
    return state_->last;
}

std::vector<Screen> XcbDesktop::screens() {
    state_->updateMonitors();
    if (state_->connection.isBroken()) return {};
    const PixelRect main = state_->mainArea();
    std::vector<Screen> screens;
    for (const XcbMonitor& monitor : state_->monitors) {
        const PixelRect& area = monitor.area;
        screens.push_back(
            {monitor.displayID,
             {static_cast<double>(area.x - main.x), static_cast<double>(main.height - (area.maxY() - main.y)),
              static_cast<double>(area.width), static_cast<double>(area.height)},
             1});
    }
    return screens;
}

std::optional<Rect> XcbDesktop::windowBounds(std::uint32_t windowID) {
    state_->updateMonitors();
    std::optional<PixelRect> bounds;
    const auto known = state_->frames.find(windowID);
    if (known != state_->frames.end()) bounds = state_->boundsWithin(windowID, known->second);
    if (!bounds) {
        // Unknown, reparented, hidden or gone.
        state_->frames.erase(windowID);
        const xcb_window_t frame = frameOf(state_->connection, windowID);
        if (frame != XCB_NONE) bounds = state_->boundsWithin(windowID, frame);
        if (bounds) state_->frames[windowID] = frame;
    }
    if (!bounds) return std::nullopt;
    const PixelRect main = state_->mainArea();
    return Rect{static_cast<double>(bounds->x - main.x), static_cast<double>(bounds->y - main.y),
                static_cast<double>(bounds->width), static_cast<double>(bounds->height)};
}

std::string XcbDesktop::implementation() const { return "X11 (display " + state_->connection.name() + ")"; }

}  // namespace platform

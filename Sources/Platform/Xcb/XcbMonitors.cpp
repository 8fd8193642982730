#include "Platform/Xcb/XcbMonitors.hpp"

#include <algorithm>
#include <set>
#include <string_view>

#include <xcb/randr.h>

namespace platform {

namespace {

/// FNV-1a, 32 bits.
std::uint32_t hashOf(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const unsigned char byte : text) hash = (hash ^ byte) * 16777619U;
    return hash;
}

bool hasMonitors(const XcbConnection& connection) {
    if (connection.extension(xcb_randr_id) == nullptr) return false;
    const auto version =
        connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(connection.get(), 1, 5));
    return version && (version->major_version > 1 || version->minor_version >= 5);
}

std::vector<XcbMonitor> queryMonitors(const XcbConnection& connection) {
    const auto answer = connection.reply(xcb_randr_get_monitors_reply,
                                         xcb_randr_get_monitors(connection.get(), connection.root(), 1));
    if (!answer) return {};
    std::vector<XcbMonitor> monitors;
    std::vector<xcb_get_atom_name_cookie_t> names;
    for (auto each = xcb_randr_get_monitors_monitors_iterator(answer.get()); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        monitors.push_back({0,
                            {},
                            {each.data->x, each.data->y, each.data->width, each.data->height},
                            each.data->primary != 0});
        names.push_back(xcb_get_atom_name(connection.get(), each.data->name));
    }
    for (std::size_t i = 0; i < monitors.size(); ++i) {
        const auto name = connection.reply(xcb_get_atom_name_reply, names[i]);
        if (name)
            monitors[i].name.assign(xcb_get_atom_name_name(name.get()),
                                    static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get())));
    }
    std::erase_if(monitors, [](const XcbMonitor& monitor) { return monitor.area.isEmpty(); });
    return monitors;
}

}  // namespace

std::vector<XcbMonitor> readMonitors(XcbConnection& connection) {
    std::vector<XcbMonitor> monitors;
    if (hasMonitors(connection)) monitors = queryMonitors(connection);
    if (monitors.empty()) {
        const auto size =
            connection.reply(xcb_get_geometry_reply, xcb_get_geometry(connection.get(), connection.root()));
        if (!size) return {};
        monitors.push_back({0, "screen", {0, 0, size->width, size->height}, true});
    }

    const auto main = std::find_if(monitors.begin(), monitors.end(),
                                   [](const XcbMonitor& monitor) { return monitor.isMain; });
    if (main != monitors.end()) std::rotate(monitors.begin(), main, main + 1);
    std::set<std::uint32_t> taken{0};  // 0 is nobody's number
    for (XcbMonitor& monitor : monitors) {
        monitor.isMain = &monitor == monitors.data();
        monitor.displayID = hashOf(monitor.name);
        while (!taken.insert(monitor.displayID).second) ++monitor.displayID;
    }
    return monitors;
}

bool isXwayland(XcbConnection& connection) {
    // Newer ones say so by an extension, older ones by the names of their outputs.
    static constexpr std::string_view extension = "XWAYLAND", output = "XWAYLAND";
    const auto found =
        connection.reply(xcb_query_extension_reply,
                         xcb_query_extension(connection.get(), static_cast<std::uint16_t>(extension.size()),
                                             extension.data()));
    if (found && found->present != 0) return true;
    return std::ranges::any_of(readMonitors(connection),
                               [](const XcbMonitor& monitor) { return monitor.name.starts_with(output); });
}

void watchMonitors(XcbConnection& connection) {
    if (!hasMonitors(connection)) return;
    xcb_randr_select_input(connection.get(), connection.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
}

bool isMonitorChange(const XcbConnection& connection, const xcb_generic_event_t& event) {
    const auto* randr = connection.extension(xcb_randr_id);
    if (randr == nullptr) return false;
    const int type = event.response_type & 0x7f;
    return type == randr->first_event + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
           type == randr->first_event + XCB_RANDR_NOTIFY;
}

}  // namespace platform

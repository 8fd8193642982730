#include "Platform/Capture/Xcb/WindowOwner.hpp"

#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <fstream>

#include <xcb/res.h>

namespace platform {

namespace {

int processByServer(const XcbConnection& connection, xcb_window_t window) {
    if (connection.extension(xcb_res_id) == nullptr) return 0;
    const xcb_res_client_id_spec_t question{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto answer = connection.reply(xcb_res_query_client_ids_reply,
                                         xcb_res_query_client_ids(connection.get(), 1, &question));
    if (!answer) return 0;
    const auto first = xcb_res_query_client_ids_ids_iterator(answer.get());
    if (first.rem == 0 || xcb_res_client_id_value_value_length(first.data) == 0) return 0;
    return static_cast<int>(*xcb_res_client_id_value_value(first.data));
}

/// The second of the two strings of WM_CLASS.
std::string windowClass(const XcbConnection& connection, xcb_window_t window) {
    const std::string both = textProperty(connection, window, XCB_ATOM_WM_CLASS);
    const std::size_t end = both.find('\0');
    if (end == std::string::npos) return both;
    const std::string second = both.substr(end + 1);
    return second.substr(0, second.find('\0'));
}

std::string programName(int process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

}  // namespace

int processOf(XcbConnection& connection, xcb_window_t window) {
    if (const int process = processByServer(connection, window)) return process;
    const auto said = cardinals(connection, window, connection.atom("_NET_WM_PID"), 1);
    return said.empty() ? 0 : static_cast<int>(said.front());
}

RunningApplication applicationOf(XcbConnection& connection, xcb_window_t window) {
    RunningApplication application;
    application.processID = processOf(connection, window);
    application.name = windowClass(connection, window);
    for (const char* property : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE"})
        if (application.bundleIdentifier.empty())
            application.bundleIdentifier = textProperty(connection, window, connection.atom(property));
    if (application.bundleIdentifier.empty()) application.bundleIdentifier = application.name;
    if (application.processID != 0) {
        if (application.bundleIdentifier.empty())
            application.bundleIdentifier = "pid:" + std::to_string(application.processID);
        if (application.name.empty()) application.name = programName(application.processID);
    }
    return application;
}

xcb_window_t clientWithin(XcbConnection& connection, xcb_window_t frame) {
    // Frames nest no deeper than this in any window manager.
    constexpr int deepest = 3;
    // What stands in a tray says nothing about the tray.
    const auto isIcon = [&](xcb_window_t window) {
        return !cardinals(connection, window, connection.atom("_XEMBED_INFO"), 1).empty();
    };
    xcb_window_t classed = XCB_NONE;
    std::vector<xcb_window_t> level{frame};
    for (int depth = 0; depth <= deepest && !level.empty(); ++depth) {
        std::vector<xcb_window_t> below;
        for (const xcb_window_t window : level) {
            if (!cardinals(connection, window, connection.atom("WM_STATE"), 1).empty()) return window;
            if (classed == XCB_NONE && !windowClass(connection, window).empty() && !isIcon(window))
                classed = window;
            const auto children = childrenOf(connection, window);
            below.insert(below.end(), children.begin(), children.end());
        }
        level = std::move(below);
    }
    return classed == XCB_NONE ? frame : classed;
}

bool isAnyOf(const RunningApplication& owner, const std::vector<RunningApplication>& applications) {
    return std::any_of(applications.begin(), applications.end(), [&](const RunningApplication& application) {
        return (application.processID != 0 && application.processID == owner.processID) ||
               (!application.bundleIdentifier.empty() &&
                application.bundleIdentifier == owner.bundleIdentifier);
    });
}

bool belongsToAny(XcbConnection& connection, xcb_window_t topLevel,
                  const std::vector<RunningApplication>& applications) {
    return !applications.empty() &&
           isAnyOf(applicationOf(connection, clientWithin(connection, topLevel)), applications);
}

}  // namespace platform

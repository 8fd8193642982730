#include "Platform/Capture/Xcb/ContentReader.hpp"

#include "Platform/Capture/Xcb/WindowOwner.hpp"
#include "Platform/Xcb/XcbMonitors.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <set>

#include <unistd.h>

namespace platform {

namespace {

Rect relativeTo(const PixelRect& main, const PixelRect& area) {
    return {static_cast<double>(area.x - main.x), static_cast<double>(area.y - main.y),
            static_cast<double>(area.width), static_cast<double>(area.height)};
}

bool has(const std::vector<std::uint32_t>& values, std::uint32_t value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

class ContentReader {
  public:
    ContentReader(XcbConnection& connection, std::string ownIdentifier)
        : connection_(connection), ownIdentifier_(std::move(ownIdentifier)) {}

    ShareableContent read() {
        readDisplays();
        topLevels_ = childrenOf(connection_, connection_.root());
        const auto current = property(connection_.root(), "_NET_CURRENT_DESKTOP");
        if (!current.empty() && !showsSeveralDesktops()) currentDesktop_ = current.front();
        for (const xcb_window_t client : clientsFrontToBack()) readWindow(client);
        for (const xcb_window_t window : topLevels_)
            if (!frames_.contains(window)) readOwnerOf(window);
        if (!ownIdentifier_.empty()) add({ownIdentifier_, ownIdentifier_, getpid()});
        return std::move(content_);
    }

  private:
    std::vector<std::uint32_t> property(xcb_window_t window, const char* name) {
        return cardinals(connection_, window, connection_.atom(name), 4096);
    }

    void readDisplays() {
        const auto monitors = readMonitors(connection_);
        if (monitors.empty()) return;
        main_ = monitors.front().area;
        for (const XcbMonitor& monitor : monitors)
            content_.displays.push_back(
                {monitor.displayID, monitor.name, relativeTo(main_, monitor.area), 1, monitor.isMain});
    }

    std::vector<xcb_window_t> clientsFrontToBack() {
        auto clients = property(connection_.root(), "_NET_CLIENT_LIST_STACKING");
        if (clients.empty()) clients = property(connection_.root(), "_NET_CLIENT_LIST");
        const bool isManaged = !property(connection_.root(), "_NET_SUPPORTING_WM_CHECK").empty();
        if (clients.empty() && !isManaged)
            std::copy_if(topLevels_.begin(), topLevels_.end(), std::back_inserter(clients),
                         [this](auto window) {
                             const auto attributes =
                                 connection_.reply(xcb_get_window_attributes_reply,
                                                   xcb_get_window_attributes(connection_.get(), window));
                             return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                                    attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
                                    !attributes->override_redirect;
                         });
        std::reverse(clients.begin(), clients.end());
        return clients;
    }

    /// Tiling window managers give each display a desktop of its own; they lie side by side, then, and only
    /// what is not mapped is not seen.
    bool showsSeveralDesktops() {
        const auto places = property(connection_.root(), "_NET_DESKTOP_VIEWPORT");
        for (std::size_t i = 2; i + 1 < places.size(); i += 2)
            if (places[i] != places[0] || places[i + 1] != places[1]) return true;
        return false;
    }

    /// Panels and the desktop's icons are no windows to record.
    bool isPartOfTheDesktop(xcb_window_t client) {
        const auto types = property(client, "_NET_WM_WINDOW_TYPE");
        return has(types, connection_.atom("_NET_WM_WINDOW_TYPE_DESKTOP")) ||
               has(types, connection_.atom("_NET_WM_WINDOW_TYPE_DOCK"));
    }

    bool isOnScreen(xcb_window_t client, bool isViewable) {
        const auto states = property(client, "_NET_WM_STATE");
        if (!isViewable || has(states, connection_.atom("_NET_WM_STATE_HIDDEN")) ||
            has(states, connection_.atom("_NET_WM_STATE_SHADED")))
            return false;
        // Some window managers only move away what is on another desktop.
        constexpr std::uint32_t everyDesktop = 0xffffffff;
        const auto desktop = property(client, "_NET_WM_DESKTOP");
        return desktop.empty() || !currentDesktop_ || desktop.front() == everyDesktop ||
               desktop.front() == *currentDesktop_;
    }

    void readWindow(xcb_window_t client) {
        const xcb_window_t frame = frameOf(connection_, client);
        const auto bounds = frame == XCB_NONE ? std::nullopt : framedBounds(connection_, client, frame);
        const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                                  xcb_get_window_attributes(connection_.get(), client));
        if (!bounds || !attributes) return;  // closed meanwhile
        frames_.insert(frame);
        if (isPartOfTheDesktop(client)) return;
        Window window;
        window.windowID = client;
        window.title = textProperty(connection_, client, connection_.atom("_NET_WM_NAME"));
        if (window.title.empty()) window.title = textProperty(connection_, client, XCB_ATOM_WM_NAME);
        window.frame = relativeTo(main_, bounds->seenOnRoot());
        window.isOnScreen = isOnScreen(client, attributes->map_state == XCB_MAP_STATE_VIEWABLE);
        const RunningApplication owner = ownIdentified(applicationOf(connection_, client));
        if (!owner.bundleIdentifier.empty()) {
            window.owningApplication = owner;
            add(owner);
        }
        content_.windows.push_back(std::move(window));
    }

    /// Pop-ups, bubbles and the like make their application known, too.
    void readOwnerOf(xcb_window_t window) {
        if (textProperty(connection_, window, XCB_ATOM_WM_CLASS).empty()) return;
        add(ownIdentified(applicationOf(connection_, window)));
    }

    RunningApplication ownIdentified(RunningApplication application) const {
        if (!ownIdentifier_.empty() && application.processID == getpid())
            application.bundleIdentifier = ownIdentifier_;
        return application;
    }

    void add(const RunningApplication& application) {
        const bool isKnown = std::any_of(content_.applications.begin(), content_.applications.end(),
                                         [&](const RunningApplication& known) {
                                             return known.processID == application.processID &&
                                                    known.bundleIdentifier == application.bundleIdentifier;
                                         });
        if (!isKnown && !application.bundleIdentifier.empty()) content_.applications.push_back(application);
    }

    XcbConnection& connection_;
    const std::string ownIdentifier_;
    ShareableContent content_;
    PixelRect main_;
    std::optional<std::uint32_t> currentDesktop_;
    std::vector<xcb_window_t> topLevels_;
    std::set<xcb_window_t> frames_;
};

}  // namespace

ShareableContent readShareableContent(XcbConnection& connection, const std::string& ownBundleIdentifier) {
    return ContentReader(connection, ownBundleIdentifier).read();
}

}  // namespace platform

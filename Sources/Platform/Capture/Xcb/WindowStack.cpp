#include "Platform/Capture/Xcb/WindowStack.hpp"

#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>

namespace platform {

WindowStack::WindowStack(XcbConnection& connection) : root_(connection.root()) {
    xcb_connection_t* c = connection.get();
    // The list and the events that change it must meet without a gap.
    xcb_grab_server(c);
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, root_, XCB_CW_EVENT_MASK, &events);
    const auto children = childrenOf(connection, root_);
    std::vector<std::pair<xcb_get_geometry_cookie_t, xcb_get_window_attributes_cookie_t>> asked;
    for (const xcb_window_t child : children)
        asked.emplace_back(xcb_get_geometry(c, child), xcb_get_window_attributes(c, child));
    for (std::size_t i = 0; i < children.size(); ++i) {
        const auto geometry = connection.reply(xcb_get_geometry_reply, asked[i].first);
        const auto attributes = connection.reply(xcb_get_window_attributes_reply, asked[i].second);
        if (geometry && attributes && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
            stack_.push_back({children[i], outerBounds(*geometry), geometry->border_width,
                              attributes->map_state != XCB_MAP_STATE_UNMAPPED});
    }
    xcb_ungrab_server(c);
    xcb_flush(c);
}

std::vector<TopLevel>::iterator WindowStack::at(xcb_window_t window) {
    return std::find_if(stack_.begin(), stack_.end(),
                        [window](const TopLevel& topLevel) { return topLevel.window == window; });
}

const TopLevel* WindowStack::find(xcb_window_t window) const {
    const auto found = std::find_if(stack_.begin(), stack_.end(),
                                    [window](const TopLevel& topLevel) { return topLevel.window == window; });
    return found == stack_.end() ? nullptr : &*found;
}

void WindowStack::add(const TopLevel& topLevel) {
    if (at(topLevel.window) == stack_.end()) stack_.push_back(topLevel);
}

void WindowStack::configure(const xcb_configure_notify_event_t& notify) {
    const auto found = at(notify.window);
    if (found == stack_.end()) return;
    TopLevel changed = *found;
    changed.border = notify.border_width;
    changed.bounds = {notify.x, notify.y, notify.width + 2 * notify.border_width,
                      notify.height + 2 * notify.border_width};
    stack_.erase(found);
    const auto below = at(notify.above_sibling);
    if (notify.above_sibling == XCB_NONE)
        stack_.insert(stack_.begin(), changed);
    else
        stack_.insert(below == stack_.end() ? below : below + 1, changed);
}

bool WindowStack::handle(const xcb_generic_event_t& event) {
    // A program may send made-up events; they say nothing about the stack.
    if ((event.response_type & 0x80) != 0) return false;
    switch (event.response_type) {
        case XCB_CREATE_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_create_notify_event_t&>(event);
            if (notify.parent != root_) return false;
            add({notify.window,
                 {notify.x, notify.y, notify.width + 2 * notify.border_width,
                  notify.height + 2 * notify.border_width},
                 notify.border_width,
                 false});
            return true;
        }
        case XCB_DESTROY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
            return notify.event == root_ &&
                   std::erase_if(stack_, [&](const auto& each) { return each.window == notify.window; }) > 0;
        }
        case XCB_REPARENT_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_reparent_notify_event_t&>(event);
            if (notify.event != root_) return false;
            std::erase_if(stack_, [&](const auto& each) { return each.window == notify.window; });
            // Its size follows with the next configuration; it is not shown before it is mapped.
            if (notify.parent == root_) add({notify.window, {notify.x, notify.y, 0, 0}, 0, false});
            return true;
        }
        case XCB_MAP_NOTIFY:
        case XCB_UNMAP_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_map_notify_event_t&>(event);
            const auto found = at(notify.window);
            if (notify.event != root_ || found == stack_.end()) return false;
            found->isShown = event.response_type == XCB_MAP_NOTIFY;
            return true;
        }
        case XCB_CONFIGURE_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
            if (notify.event != root_) return false;
            configure(notify);
            return true;
        }
        case XCB_GRAVITY_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_gravity_notify_event_t&>(event);
            const auto found = at(notify.window);
            if (notify.event != root_ || found == stack_.end()) return false;
            found->bounds.x = notify.x;
            found->bounds.y = notify.y;
            return true;
        }
        case XCB_CIRCULATE_NOTIFY: {
            const auto& notify = reinterpret_cast<const xcb_circulate_notify_event_t&>(event);
            const auto found = at(notify.window);
            if (notify.event != root_ || found == stack_.end()) return false;
            if (notify.place == XCB_PLACE_ON_TOP)
                std::rotate(found, found + 1, stack_.end());
            else
                std::rotate(stack_.begin(), found, found + 1);
            return true;
        }
        default:
            return false;
    }
}

}  // namespace platform

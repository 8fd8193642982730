#pragma once

#include "Platform/Foundation/LibraryVersion.hpp"

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include <xcb/xcb.h>

namespace platform {

struct MallocDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using XcbReply = std::unique_ptr<T, MallocDeleter>;
using XcbEvent = XcbReply<xcb_generic_event_t>;

/// A connection of one thread to the X server, with its first screen.
class XcbConnection {
  public:
    /// An empty name means $DISPLAY. Throws PlatformError when there is no such server.
    explicit XcbConnection(const std::string& displayName = {});

    xcb_connection_t* get() const { return connection_.get(); }
    xcb_window_t root() const { return screen_->root; }
    const xcb_screen_t& screen() const { return *screen_; }
    /// The display's name, for messages.
    const std::string& name() const { return name_; }
    bool isBroken() const { return xcb_connection_has_error(get()) != 0; }

    /// The atom of this name; asked for once.
    xcb_atom_t atom(const std::string& name);
    /// The extension's first event, error and opcode numbers; null when the server lacks it.
    const xcb_query_extension_reply_t* extension(xcb_extension_t& which) const;

    /// Waits for a reply; null when the request failed (the error is dropped) or the server is gone.
    template <typename Reply, typename Cookie>
    XcbReply<Reply> reply(Reply* (*fetch)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                          Cookie cookie) const {
        xcb_generic_error_t* error = nullptr;
        XcbReply<Reply> answer(fetch(get(), cookie, &error));
        std::free(error);
        return answer;
    }
    /// Waits for a request without a reply; false when it failed or the server is gone.
    bool succeeded(xcb_void_cookie_t cookie) const;

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    std::string name_;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr;
    std::map<std::string, xcb_atom_t> atoms_;
};

/// The library tells no version at run time: this is the one that the program was built with.
LibraryVersion xcbVersion();

}  // namespace platform

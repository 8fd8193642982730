#include "Platform/Xcb/XcbConnection.hpp"

#include "Platform/Foundation/PlatformError.hpp"

namespace platform {

namespace {

std::string shownName(const std::string& displayName) {
    if (!displayName.empty()) return displayName;
    const char* environment = std::getenv("DISPLAY");
    return environment == nullptr ? std::string() : environment;
}

}  // namespace

XcbConnection::XcbConnection(const std::string& displayName) : name_(shownName(displayName)) {
    if (name_.empty())
        throw PlatformError("X11", XCB_CONN_CLOSED_PARSE_ERR,
                            "There is no X11 display: the environment variable DISPLAY is not set. "
                            "Run Cobaltreel inside an X11 session.");
    int screenNumber = 0;
    connection_.reset(xcb_connect(name_.c_str(), &screenNumber));
    if (const int code = xcb_connection_has_error(get()))
        throw PlatformError("X11", code,
                            "The X server of display \"" + name_ +
                                "\" cannot be reached. Check that it runs, that DISPLAY names it and that "
                                "this user may use it.");
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) xcb_screen_next(&screens);
    screen_ = screens.data;
}

xcb_atom_t XcbConnection::atom(const std::string& name) {
    const auto known = atoms_.find(name);
    if (known != atoms_.end()) return known->second;
    const auto answer = reply(xcb_intern_atom_reply, xcb_intern_atom(get(), 0, name.size(), name.c_str()));
    if (!answer) return XCB_ATOM_NONE;
    atoms_.emplace(name, answer->atom);
    return answer->atom;
}

const xcb_query_extension_reply_t* XcbConnection::extension(xcb_extension_t& which) const {
    const xcb_query_extension_reply_t* data = xcb_get_extension_data(get(), &which);
    return data != nullptr && data->present ? data : nullptr;
}

bool XcbConnection::succeeded(xcb_void_cookie_t cookie) const {
    const XcbReply<xcb_generic_error_t> error(xcb_request_check(get(), cookie));
    return !error && !isBroken();
}

LibraryVersion xcbVersion() { return {"libxcb", COBALTREEL_XCB_VERSION}; }

}  // namespace platform

#pragma once

#include "Platform/Capture/Recording.hpp"
#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Rig/ChildProcess.hpp"

#include <cstdlib>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace platform::test {

inline std::string rigProgram(const std::string& name) { return std::string(RIG_PROGRAMS "/") + name; }

/// Equal but for the rounding of a scaled picture.
inline bool isNear(std::uint32_t a, std::uint32_t b) {
    constexpr int rounding = 4;
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(static_cast<int>(a >> shift & 0xff) - static_cast<int>(b >> shift & 0xff)) > rounding)
            return false;
    return true;
}

/// A plainly colored window of a connection of its own (hence, to the server, of this process).
class ColorWindow {
  public:
    struct Look {
        std::uint32_t color = 0xff0000;
        bool isOverride = false;
        std::string title = "Color";
    };

    ColorWindow(XcbConnection& connection, int x, int y, int width, int height, const Look& look)
        : connection_(connection), id_(xcb_generate_id(connection.get())) {
        xcb_connection_t* c = connection.get();
        const std::uint32_t values[] = {look.color, look.isOverride ? 1U : 0U};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, id_, connection.root(), static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        setText(XCB_ATOM_WM_NAME, look.title);
        const std::int32_t hints[18] = {1, x, y, width, height};  // USPosition
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                            32, 18, hints);
    }
    ~ColorWindow() {
        xcb_destroy_window(connection_.get(), id_);
        xcb_flush(connection_.get());
    }
    ColorWindow(const ColorWindow&) = delete;
    ColorWindow& operator=(const ColorWindow&) = delete;

    xcb_window_t id() const { return id_; }
    void setText(xcb_atom_t property, const std::string& text) {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, id_, property, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    }
    void setCardinals(const std::string& property, const std::vector<std::uint32_t>& values) {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, id_, connection_.atom(property),
                            XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(values.size()), values.data());
        settle();
    }
    /// Shows it and waits until it is.
    void show() {
        xcb_map_window(connection_.get(), id_);
        eventually([this] { return isViewable(); });
    }
    void hide() {
        xcb_unmap_window(connection_.get(), id_);
        eventually([this] { return !isViewable(); });
    }
    bool isViewable() const {
        const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                                  xcb_get_window_attributes(connection_.get(), id_));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    void move(int x, int y) { configure(XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, x, y); }
    void resize(int width, int height) {
        configure(XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, width, height);
    }
    void raise() {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection_.get(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        settle();
    }
    void paint(std::uint32_t color) {
        xcb_change_window_attributes(connection_.get(), id_, XCB_CW_BACK_PIXEL, &color);
        xcb_clear_area(connection_.get(), 0, id_, 0, 0, 0, 0);
        settle();
    }
    void settle() { connection_.reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_.get())); }

  private:
    void configure(std::uint16_t mask, int a, int b) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b)};
        xcb_configure_window(connection_.get(), id_, mask, values);
        settle();
    }

    XcbConnection& connection_;
    xcb_window_t id_;
};

inline double processorSeconds() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

}  // namespace platform::test

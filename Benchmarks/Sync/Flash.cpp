// SyncFlash: a black window over the whole display that turns white, and presses the pointer's button, at
// given instants of the host clock. A square in a corner changes all the time, as something does on most
// screens. Prints a line when it can be seen; runs until a signal ends it.
//
//   SyncFlash --at T[,T...]
#include "Rig/HostTime.hpp"
#include "Rig/RigEvents.hpp"
#include "Rig/RigUrgency.hpp"
#include "Rig/WaylandPerson.hpp"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <CLI/CLI.hpp>
#include <linux/input.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

using rig::hostTime;
using rig::sleepUntil;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

int run(const RigEvents& events) {
    const std::unique_ptr<xcb_connection_t, Disconnect> c(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(c.get())) {
        std::fputs("SyncFlash: no X server at $DISPLAY\n", stderr);
        return 1;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c.get())).data;
    const xcb_window_t window = xcb_generate_id(c.get());
    const std::uint32_t values[] = {screen->black_pixel, 1, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(c.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(c.get(), window);
    xcb_flush(c.get());
    std::free(xcb_wait_for_event(c.get()));  // exposed: it can be seen
    std::puts("there");
    std::fflush(stdout);

    const xcb_gcontext_t gc = xcb_generate_id(c.get());
    xcb_create_gc(c.get(), gc, window, 0, nullptr);
    bool bright = false;
    const auto blink = [&] {
        bright = !bright;
        const std::uint32_t pixel = bright ? 0x808080 : 0x404040;
        const xcb_rectangle_t square{0, 0, 32, 32};
        xcb_change_gc(c.get(), gc, XCB_GC_FOREGROUND, &pixel);
        xcb_poly_fill_rectangle(c.get(), window, gc, 1, &square);
        xcb_flush(c.get());
    };
    const bool isWayland = qgetenv("XDG_SESSION_TYPE") == "wayland";
    const auto move = [&](int x, int y) {
        if (isWayland) return void(rig::callPerson("Move", {double(x), double(y)}));
        xcb_test_fake_input(c.get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen->root,
                            static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
        xcb_flush(c.get());
    };
    const auto press = [&](bool isPressed) {
        if (isWayland) return void(rig::callPerson("Button", {BTN_LEFT, isPressed}));
        xcb_test_fake_input(c.get(), isPressed ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME,
                            screen->root, 0, 0, 0);
        xcb_flush(c.get());
    };
    // A Wayland desktop tells where the pointer is once it has moved.
    move(200, 200);
    move(201, 200);
    const auto show = [&](std::uint32_t pixel, bool isPressed) {
        xcb_change_window_attributes(c.get(), window, XCB_CW_BACK_PIXEL, &pixel);
        xcb_clear_area(c.get(), 0, window, 0, 0, 0, 0);
        xcb_flush(c.get());
        press(isPressed);
    };
    const auto blinkUntil = [&](double time) {
        constexpr double step = 1.0 / 30;
        while (hostTime() + step < time) {
            blink();
            sleepUntil(hostTime() + step);
        }
        sleepUntil(time);
    };
    constexpr double beforehand = 0.2;  // seconds
    int column = 200;
    for (const double instant : events.instants) {
        // Again and again: a move before the compositor was ready is lost.
        blinkUntil(instant - beforehand);
        move(column ^= 1, 200);
        blinkUntil(instant);
        show(screen->white_pixel, true);
        blinkUntil(instant + RigEvents::length);
        show(screen->black_pixel, false);
    }
    for (;;) blinkUntil(hostTime() + 3600);
}

}  // namespace

int main(int argc, char** argv) {
    RigEvents events;
    CLI::App arguments;
    arguments.add_option("--at", events.instants)->delimiter(',');
    CLI11_PARSE(arguments, argc, argv);
    if (events.instants.empty()) {
        std::fputs("SyncFlash: say --at T[,T...]\n", stderr);
        return 2;
    }
    rig::becomeUrgent();
    return run(events);
}

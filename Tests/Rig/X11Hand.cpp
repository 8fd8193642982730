#include "Rig/Hand.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace rig {
namespace {

class X11Hand final : public Hand {
  public:
    X11Hand() : c_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(c_)) {
            std::fputs("RigPointer: no X server at $DISPLAY\n", stderr);
            std::exit(1);
        }
        root_ = xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root;
    }
    ~X11Hand() override { xcb_disconnect(c_); }
    X11Hand(const X11Hand&) = delete;
    X11Hand& operator=(const X11Hand&) = delete;

    void place(int x, int y) override {
        xcb_test_fake_input(c_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_, static_cast<std::int16_t>(x),
                            static_cast<std::int16_t>(y), 0);
        xcb_flush(c_);
    }
    void press(int button, bool down) override {
        xcb_test_fake_input(c_, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                            static_cast<std::uint8_t>(button), XCB_CURRENT_TIME, root_, 0, 0, 0);
        where();
    }
    Place where() override {
        if (auto* now = xcb_query_pointer_reply(c_, xcb_query_pointer(c_, root_), nullptr)) {
            last_ = {now->root_x, now->root_y};
            std::free(now);
        }
        return last_;
    }
    Place contentOf(unsigned window) override {
        Place found;
        if (auto* place = xcb_translate_coordinates_reply(
                c_, xcb_translate_coordinates(c_, window, root_, 0, 0), nullptr)) {
            found = {place->dst_x, place->dst_y};
            std::free(place);
        }
        return found;
    }

  private:
    xcb_connection_t* c_;
    xcb_window_t root_ = 0;
    Place last_;
};

}  // namespace

std::unique_ptr<Hand> makeX11Hand() { return std::make_unique<X11Hand>(); }

}  // namespace rig

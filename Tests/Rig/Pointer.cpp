// RigPointer: moves and clicks the real pointer, as a person's hand would.
//
//   RigPointer [in WINDOW] [move X Y [MS]] [click [BUTTON]] [press BUTTON] [release BUTTON] [wait MS] ...
//
// A move with MS goes there smoothly in that time; after `in` positions are those of that window. Each press
// prints "press BUTTON HOSTTIME X Y" (seconds of CLOCK_MONOTONIC; pixels, origin at the top left) once the
// server has taken it.

#include "Rig/HostTime.hpp"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

using rig::hostTime;
using rig::sleepUntil;

class Pointer {
  public:
    Pointer() : c_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(c_)) {
            std::fputs("RigPointer: no X server at $DISPLAY\n", stderr);
            std::exit(1);
        }
        root_ = xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root;
        where();
    }
    ~Pointer() { xcb_disconnect(c_); }
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;

    void move(int x, int y, double seconds) {
        const int fromX = x_, fromY = y_;
        const double begin = hostTime();
        constexpr double step = 1.0 / 125;  // the report rate of a plain mouse
        for (double t = step; t < seconds; t += step) {
            const double share = 0.5 - 0.5 * std::cos(M_PI * t / seconds);
            sleepUntil(begin + t);
            place(fromX + static_cast<int>(std::lround((x - fromX) * share)),
                  fromY + static_cast<int>(std::lround((y - fromY) * share)));
        }
        sleepUntil(begin + seconds);
        place(x, y);
        where();
    }

    /// From here on positions count from where this window has its content now.
    void countFrom(xcb_window_t window) {
        if (auto* place = xcb_translate_coordinates_reply(
                c_, xcb_translate_coordinates(c_, window, root_, 0, 0), nullptr)) {
            originX_ = place->dst_x;
            originY_ = place->dst_y;
            std::free(place);
        }
    }
    int originX() const { return originX_; }
    int originY() const { return originY_; }

    void button(int number, bool down) {
        xcb_test_fake_input(c_, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                            static_cast<std::uint8_t>(number), XCB_CURRENT_TIME, root_, 0, 0, 0);
        where();
        if (down) {
            std::printf("press %d %.6f %d %d\n", number, hostTime(), x_, y_);
            std::fflush(stdout);
        }
    }

  private:
    void place(int x, int y) {
        xcb_test_fake_input(c_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_, static_cast<std::int16_t>(x),
                            static_cast<std::int16_t>(y), 0);
        xcb_flush(c_);
    }
    void where() {
        if (auto* now = xcb_query_pointer_reply(c_, xcb_query_pointer(c_, root_), nullptr)) {
            x_ = now->root_x;
            y_ = now->root_y;
            std::free(now);
        }
    }

    xcb_connection_t* c_;
    xcb_window_t root_ = 0;
    int x_ = 0;
    int y_ = 0;
    int originX_ = 0;
    int originY_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    std::size_t next = 0;
    const auto isNumber = [&] {
        if (next >= words.size()) return false;
        const std::string& word = words[next];
        return std::isdigit(word[word.size() > 1 && word[0] == '-' ? 1 : 0]) != 0;
    };
    const auto number = [&](int otherwise) {
        return isNumber() ? std::atoi(words[next++].c_str()) : otherwise;
    };

    Pointer pointer;
    while (next < words.size()) {
        const std::string verb = words[next++];
        if (verb == "move") {
            const int x = number(0), y = number(0);
            pointer.move(pointer.originX() + x, pointer.originY() + y, number(0) / 1000.0);
        } else if (verb == "in") {
            pointer.countFrom(static_cast<xcb_window_t>(number(0)));
        } else if (verb == "click") {
            const int which = number(1);
            pointer.button(which, true);
            sleepUntil(hostTime() + 0.08);
            pointer.button(which, false);
        } else if (verb == "press" || verb == "release") {
            pointer.button(number(1), verb == "press");
        } else if (verb == "wait") {
            sleepUntil(hostTime() + number(0) / 1000.0);
        } else {
            std::fprintf(stderr, "RigPointer: unknown word \"%s\"\n", verb.c_str());
            return 2;
        }
    }
    return 0;
}

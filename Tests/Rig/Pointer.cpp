// RigPointer: moves and clicks the real pointer of an X desktop or of the Wayland rig, as a person's hand
// would.
//
//   RigPointer [in WINDOW] [move X Y [MS]] [click [BUTTON]] [press BUTTON] [release BUTTON] [wait MS] ...
//
// A move with MS goes there smoothly in that time; after `in` positions are those of that window. Each press
// prints "press BUTTON HOSTTIME X Y" (seconds of CLOCK_MONOTONIC; pixels, origin at the top left) once the
// server has taken it.

#include "Rig/Hand.hpp"
#include "Rig/HostTime.hpp"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using rig::hostTime;
using rig::sleepUntil;

class Pointer {
  public:
    explicit Pointer(std::unique_ptr<rig::Hand> hand) : hand_(std::move(hand)), at_(hand_->where()) {}

    void move(int x, int y, double seconds) {
        const rig::Hand::Place from = at_;
        const double begin = hostTime();
        constexpr double step = 1.0 / 125;  // the report rate of a plain mouse
        for (double t = step; t < seconds; t += step) {
            const double share = 0.5 - 0.5 * std::cos(M_PI * t / seconds);
            sleepUntil(begin + t);
            hand_->place(from.x + static_cast<int>(std::lround((x - from.x) * share)),
                         from.y + static_cast<int>(std::lround((y - from.y) * share)));
        }
        sleepUntil(begin + seconds);
        hand_->place(x, y);
        at_ = hand_->where();
    }

    /// From here on positions count from where this window has its content now.
    void countFrom(unsigned window) { origin_ = hand_->contentOf(window); }
    int originX() const { return origin_.x; }
    int originY() const { return origin_.y; }

    void button(int number, bool down) {
        hand_->press(number, down);
        at_ = hand_->where();
        if (down) {
            std::printf("press %d %.6f %d %d\n", number, hostTime(), at_.x, at_.y);
            std::fflush(stdout);
        }
    }

  private:
    std::unique_ptr<rig::Hand> hand_;
    rig::Hand::Place at_;
    rig::Hand::Place origin_;
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

    Pointer pointer(rig::makeHand());
    while (next < words.size()) {
        const std::string verb = words[next++];
        if (verb == "move") {
            const int x = number(0), y = number(0);
            pointer.move(pointer.originX() + x, pointer.originY() + y, number(0) / 1000.0);
        } else if (verb == "in") {
            pointer.countFrom(static_cast<unsigned>(number(0)));
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

#pragma once

#include <memory>

namespace rig {

/// What moves the pointer of a desktop and presses its buttons. Pixels, origin at the top left; buttons by
/// X's numbers (1 left, 2 middle, 3 right).
class Hand {
  public:
    virtual ~Hand() = default;
    virtual void place(int x, int y) = 0;
    virtual void press(int button, bool down) = 0;
    struct Place {
        int x = 0;
        int y = 0;
    };
    /// Where the pointer is now, once all before has been done.
    virtual Place where() = 0;
    /// Where a window has its content.
    virtual Place contentOf(unsigned window) = 0;
};

/// The hand of an X desktop (XTEST), and that of the Wayland rig (portal-backend; buttons also by the pipe
/// that stands for the mouse). Both end the program when there is no such desktop.
std::unique_ptr<Hand> makeX11Hand();
std::unique_ptr<Hand> makeWaylandHand();
/// That of the desktop that the program runs on.
std::unique_ptr<Hand> makeHand();

}  // namespace rig

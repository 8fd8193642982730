#pragma once

#include <functional>
#include <memory>

namespace platform {

/// Watches until it is destroyed; its callback is never called after that.
class PointerWatch {
  public:
    virtual ~PointerWatch() = default;
};

/// Reports presses of the pointer's buttons anywhere. Main thread.
class PointerWatcher {
  public:
    /// Where, in pixels with the origin at the top left of the whole desktop, y down.
    using Pressed = std::function<void(int x, int y)>;

    virtual ~PointerWatcher() = default;
    /// Calls `pressed` on the main thread, in a later turn, for every press; the window that the press is
    /// meant for gets it all the same. Null when the desktop does not tell.
    virtual std::unique_ptr<PointerWatch> watchPresses(Pressed pressed) = 0;
};

}  // namespace platform

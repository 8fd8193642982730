#pragma once

#include <functional>
#include <memory>

namespace platform {

/// A key taken from the whole desktop; destroying it gives the key back, and its callback is never
/// called again.
class KeyGrab {
  public:
    virtual ~KeyGrab() = default;
};

/// Takes single keys from the whole desktop, whichever window has the keyboard. Main thread.
class KeyGrabber {
  public:
    virtual ~KeyGrabber() = default;
    /// Calls `pressed` on the main thread for every press of Escape, with any modifiers. No other
    /// program sees the key; all other keys go where they always go. Throws PlatformError when the key
    /// can't be had.
    virtual std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) = 0;
};

}  // namespace platform

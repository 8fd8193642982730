#pragma once

namespace platform {

/// The user's consent to the capture of the screen. Main thread.
class ScreenAccess {
  public:
    virtual ~ScreenAccess() = default;
    /// Whether the screen may be captured now; asks nobody. One short round trip.
    virtual bool preflight() = 0;
    /// Asks the user, where the desktop has a way of asking; returns at once.
    virtual void request() = 0;
};

}  // namespace platform

#pragma once

namespace platform {

/// Starts this program again. Main thread.
class Relauncher {
  public:
    virtual ~Relauncher() = default;
    /// A fresh instance starts once this process has ended, however it ends. When none can be started,
    /// nothing happens.
    virtual void relaunchAfterExit() = 0;
};

}  // namespace platform

#pragma once

#include <functional>
#include <memory>

namespace platform {

/// The right to be the only instance of the program in this session of the desktop, until destroyed or the
/// process ends in whatever way.
class InstanceClaim {
  public:
    virtual ~InstanceClaim() = default;
};

/// Main thread.
class SingleInstance {
  public:
    virtual ~SingleInstance() = default;
    /// Claims that right; `startedAgain` is then called on the main thread whenever the program is started
    /// once more. Null when another instance has it, which has been told by then. Waits, two seconds at
    /// most, for an instance that is just beginning or ending. Throws PlatformError when neither can be had.
    virtual std::unique_ptr<InstanceClaim> claim(std::function<void()> startedAgain) = 0;
};

}  // namespace platform

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

/// What another process of the program asks of the instance that runs.
enum class InstanceRequest : char {
    show = 1,    ///< it was started once more
    toggle = 2,  ///< press its button
};

/// Main thread.
class SingleInstance {
  public:
    virtual ~SingleInstance() = default;
    /// Claims that right; `asked` is then called on the main thread whenever another process asks. Null when
    /// another instance has it, which has been asked to show itself by then. Waits, two seconds at most, for
    /// an instance that is just beginning or ending. Throws PlatformError when neither can be had.
    virtual std::unique_ptr<InstanceClaim> claim(std::function<void(InstanceRequest)> asked) = 0;
    /// Asks the instance that runs; false when none does.
    virtual bool send(InstanceRequest request) = 0;
};

}  // namespace platform

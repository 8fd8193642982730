#pragma once

#include <memory>
#include <string>
#include <vector>

namespace platform {

/// What is held back, until destroyed or the process ends in whatever way.
class Inhibition {
  public:
    virtual ~Inhibition() = default;
};

/// Holds back what would disturb a recording: notifications of the desktop, and the blanking or locking of
/// the screen after a while without input. Main thread.
class Inhibitor {
  public:
    virtual ~Inhibitor() = default;
    /// Returns at once; what the desktop does not offer goes on as before. `reason` is for the desktop to
    /// show.
    virtual std::unique_ptr<Inhibition> inhibit(const std::string& reason) = 0;

    /// Who would hold back what, for a person to read; empty: nobody. Waits for the desktop, two seconds at
    /// most.
    struct Offer {
        std::string notifications;
        std::string screen;
    };
    virtual Offer offer() = 0;
};

}  // namespace platform

#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace cobaltreel {

/// Turns Ctrl-C and a request to end (SIGINT, SIGTERM, SIGHUP) into a callback, while it lives; there is
/// one at a time. Further signals change nothing. Made on the main thread; signals are taken by a
/// thread of its own, so this works while the main thread is busy.
class Interrupt {
  public:
    /// `onInterrupt` is called once, on the interrupt's thread.
    explicit Interrupt(std::function<void()> onInterrupt);
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool happened() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace cobaltreel

#pragma once

#include <functional>
#include <memory>

namespace cobaltreel {

/// Turns Ctrl-C and a request to end (SIGINT, SIGTERM, SIGHUP, SIGQUIT) into a callback, while it lives;
/// there is one at a time. Further signals change nothing. Make it before anything that starts threads: they
/// inherit that the signals are blocked. Signals are taken by a thread of its own, so this works while the
/// main thread is busy.
class Interrupt {
  public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// The handler is called only while this lives.
    class Handling {
      public:
        explicit Handling(Interrupt& interrupt) : interrupt_(interrupt) {}
        ~Handling() { interrupt_.setHandler(nullptr); }
        Handling(const Handling&) = delete;
        Handling& operator=(const Handling&) = delete;

      private:
        Interrupt& interrupt_;
    };
    /// `onInterrupt` is called once, on the interrupt's thread; at once, on this thread, when the signal has
    /// come already. Never after the returned object has gone.
    [[nodiscard]] Handling handle(std::function<void()> onInterrupt);

    bool happened() const;

  private:
    void setHandler(std::function<void()> onInterrupt);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace cobaltreel

#pragma once

#include <functional>
#include <memory>

namespace platform {

/// A running timer; destroying it ends it, and its tick is never called again.
class Timer {
  public:
    virtual ~Timer() = default;
};

/// A watched descriptor; destroying it ends the watch, and its callback is never called again.
class Watch {
  public:
    virtual ~Watch() = default;
};

/// The main thread's event loop.
class MainLoop {
  public:
    virtual ~MainLoop() = default;

    /// Runs `work` on the main thread, in the order posted. Any thread.
    virtual void post(std::function<void()> work) = 0;

    /// Calls `tick` on the main thread every `interval` seconds, the first time after one interval.
    /// Ticks that a busy main thread missed are not made up for. Main thread only.
    virtual std::unique_ptr<Timer> scheduleRepeating(double interval, std::function<void()> tick) = 0;

    /// Calls `fire` once on the main thread after `delay` seconds. Main thread only.
    virtual std::unique_ptr<Timer> scheduleOnce(double delay, std::function<void()> fire) = 0;

    /// Calls `ready` on the main thread whenever the descriptor has something to read, again and again until
    /// it was read. The descriptor outlives the watch. Main thread only.
    virtual std::unique_ptr<Watch> watchReadable(int descriptor, std::function<void()> ready) = 0;
};

}  // namespace platform

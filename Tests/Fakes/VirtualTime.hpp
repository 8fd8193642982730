#pragma once

#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Rig/Eventually.hpp"

#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

namespace platform {

/// A clock and a main loop in one, for tests: time moves only when `advance` moves it, so thirty
/// minutes pass in a millisecond and every run is the same. `post` may be called on any thread;
/// everything else belongs to the test's thread.
class VirtualTime final : public Clock, public MainLoop {
  public:
    explicit VirtualTime(double start = 1000.0) : now_(start) {}

    double now() const override;
    void post(std::function<void()> work) override;
    std::unique_ptr<Timer> scheduleRepeating(double interval, std::function<void()> tick) override;
    std::unique_ptr<Timer> scheduleOnce(double delay, std::function<void()> fire) override;
    std::unique_ptr<Watch> watchReadable(int descriptor, std::function<void()> ready) override;

    /// Runs all posted work, then every timer that falls due within `seconds`, in time order.
    void advance(double seconds);
    /// Runs all posted work and what waits for descriptors, without moving time.
    void drain();
    /// Waits while what is posted, here and by other threads, runs. Time stands still.
    template <typename Condition>
    bool eventually(Condition condition) {
        return platform::eventually(condition, [this] { drain(); });
    }
    /// Moves time without running anything: a main thread that is busy for `seconds`.
    void stall(double seconds);

  private:
    struct Scheduled;
    class Handle;
    struct Watched;
    void lookAtDescriptors();
    std::unique_ptr<Timer> schedule(double delay, double interval, std::function<void()> action);

    mutable std::mutex mutex_;
    double now_;
    std::deque<std::function<void()>> posted_;
    std::list<std::shared_ptr<Scheduled>> timers_;
    std::list<std::weak_ptr<Watched>> watched_;
};

}  // namespace platform

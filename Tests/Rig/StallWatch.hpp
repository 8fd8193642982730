#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace rig {

/// Notices when the machine stands still, as virtual ones do: a thread that would wake every few
/// milliseconds. Sound without hardware runs by the machine's timers and slips with them, whoever records it.
class StallWatch {
    using Clock = std::chrono::steady_clock;

  public:
    /// The rig's clock makes up for less.
    static constexpr std::chrono::milliseconds stall{30};

    StallWatch()
        : thread_([this] {
              while (!ended_) {
                  const auto due = Clock::now() + std::chrono::milliseconds(5);
                  std::this_thread::sleep_until(due);
                  if (const auto woken = Clock::now(); woken > due + stall) lastStall_ = woken;
              }
          }) {}
    ~StallWatch() {
        ended_ = true;
        thread_.join();
    }
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// Whether the machine stood still in the last so many seconds.
    bool sawStall(std::chrono::duration<double> within) const {
        return Clock::now() - lastStall_.load() < within;
    }

  private:
    std::atomic<bool> ended_{false};
    std::atomic<Clock::time_point> lastStall_{Clock::time_point()};
    std::thread thread_;
};

struct Verdict {
    std::string faults;     ///< empty: none
    bool isCertain = true;  ///< false when the machine stood still in every try
};

/// Makes a try until it is without faults, which it answers by saying them. One that the machine stood still
/// in, or just before, shows nothing and is made again, a few times.
template <typename Try>
Verdict withoutStalls(Try attempt) {
    constexpr std::chrono::seconds before(1);
    const StallWatch watch;
    Verdict verdict;
    for (int tries = 0; tries < 6; ++tries) {
        const auto start = std::chrono::steady_clock::now();
        verdict.faults = attempt();
        if (verdict.faults.empty() || !watch.sawStall(std::chrono::steady_clock::now() - start + before))
            return verdict;
    }
    verdict.isCertain = false;
    return verdict;
}

}  // namespace rig

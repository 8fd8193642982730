#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <sched.h>

namespace rig {

/// Notices when the machine stands still, as virtual ones do, or one of its processors does: a thread on each
/// that would wake every few milliseconds. Sound without hardware runs by the machine's timers and slips with
/// them, whoever records it.
class StallWatch {
    using Clock = std::chrono::steady_clock;

  public:
    /// The rig's clock makes up for less.
    static constexpr std::chrono::milliseconds stall{30};

    StallWatch() {
        cpu_set_t allowed;
        if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
        for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor)
            if (CPU_ISSET(processor, &allowed))
                threads_.emplace_back([this, processor] { watch(processor); });
    }
    ~StallWatch() {
        ended_ = true;
        for (std::thread& thread : threads_) thread.join();
    }
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// Whether there was a stall in the last so many seconds.
    bool sawStall(std::chrono::duration<double> within) const {
        return Clock::now() - lastStall_.load() < within;
    }

  private:
    void watch(std::size_t processor) {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(processor, &one);
        sched_setaffinity(0, sizeof one, &one);
        while (!ended_) {
            const auto due = Clock::now() + std::chrono::milliseconds(5);
            std::this_thread::sleep_until(due);
            if (const auto woken = Clock::now(); woken > due + stall) lastStall_ = woken;
        }
    }

    std::atomic<bool> ended_{false};
    std::atomic<Clock::time_point> lastStall_{Clock::time_point()};
    std::vector<std::thread> threads_;
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

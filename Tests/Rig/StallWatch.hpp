#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace rig {

/// Notices when the machine stands still, as virtual ones do: a thread that would wake every few
/// milliseconds. Sound without hardware runs by the machine's timers and slips with them, whoever records it.
class StallWatch {
  public:
    StallWatch()
        : thread_([this] {
              using Clock = std::chrono::steady_clock;
              for (auto due = Clock::now(); !ended_; due = Clock::now()) {
                  due += std::chrono::milliseconds(5);
                  std::this_thread::sleep_until(due);
                  const double late = std::chrono::duration<double>(Clock::now() - due).count();
                  if (late > longest_) longest_ = late;
              }
          }) {}
    ~StallWatch() {
        ended_ = true;
        thread_.join();
    }
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// Seconds of the longest stall so far.
    double longest() const { return longest_; }

  private:
    std::atomic<bool> ended_{false};
    std::atomic<double> longest_{0};
    std::thread thread_;
};

}  // namespace rig

#pragma once

#include "Fakes/VirtualTime.hpp"

#include <chrono>
#include <thread>

namespace platform {

/// Runs what is posted, here and by other threads, until the condition holds; false when it does not within
/// ten seconds. Virtual time stands still meanwhile.
template <typename Condition>
bool eventually(VirtualTime& time, Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        time.drain();
        std::this_thread::yield();
    }
    return true;
}

}  // namespace platform

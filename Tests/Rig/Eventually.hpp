#pragma once

#include <chrono>
#include <cstdlib>
#include <thread>

namespace platform {

/// The one way in which tests wait: until the condition holds, for a minute at most, because machines stand
/// still now and then, and a multiple of that where COBALTREEL_PATIENCE says so. False when it never does.
/// `run` is what has to go on meanwhile, a main loop for instance.
template <typename Condition, typename Run>
bool eventually(Condition condition, Run run) {
    const char* patience = std::getenv("COBALTREEL_PATIENCE");
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::minutes(patience ? std::atoi(patience) : 1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        run();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

template <typename Condition>
bool eventually(Condition condition) {
    return eventually(condition, [] {});
}

}  // namespace platform

#pragma once

#include "Platform/Foundation/SerialQueue.hpp"

#include <atomic>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

namespace platform {

/// Between a source of samples and the handler that takes them on a serial queue: keeps the number of
/// samples that wait bounded, and guarantees that nothing is handled once the gate is closed.
template <typename Sample>
class SampleGate {
  public:
    using Handler = std::function<void(const Sample&)>;

    /// `queue` outlives the gate. No more than `limit` samples wait in it at one time, nor more than it
    /// takes.
    SampleGate(SerialQueue& queue, Handler handler,
               std::size_t limit = std::numeric_limits<std::size_t>::max())
        : queue_(queue), limit_(limit), state_(std::make_shared<State>()) {
        state_->handler = std::move(handler);
    }
    ~SampleGate() { close(); }
    SampleGate(const SampleGate&) = delete;
    SampleGate& operator=(const SampleGate&) = delete;

    /// Queues a sample for its handler; false when it was dropped. Any thread; never waits for the handler.
    bool pass(Sample sample) {
        if (!state_->open) return false;
        if (state_->waiting.fetch_add(1) >= limit_) {
            --state_->waiting;
            return false;
        }
        const bool queued = queue_.async([state = state_, taken = std::move(sample)] {
            --state->waiting;
            const std::lock_guard lock(state->handling);
            if (state->open) state->handler(taken);
        });
        if (!queued) --state_->waiting;
        return queued;
    }
    /// Waits for a handler that is running, unless called by the handler itself.
    void close() {
        state_->open = false;
        if (!queue_.isCurrent()) const std::lock_guard none(state_->handling);
    }

  private:
    struct State {
        std::mutex handling;  // held while the handler runs
        std::atomic<bool> open{true};
        std::atomic<std::size_t> waiting{0};
        Handler handler;
    };

    SerialQueue& queue_;
    const std::size_t limit_;
    const std::shared_ptr<State> state_;
};

}  // namespace platform

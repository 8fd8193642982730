#include "Platform/Capture/SampleGate.hpp"

#include <atomic>
#include <mutex>
#include <utility>

namespace platform {

struct SampleGate::State {
    std::mutex handling;  // held while the handler runs
    std::atomic<bool> open{true};
    std::atomic<std::size_t> waiting{0};
    SampleHandler handler;
    std::size_t limit = 0;
};

SampleGate::SampleGate(SerialQueue& queue, SampleHandler handler, std::size_t limit)
    : queue_(queue), state_(std::make_shared<State>()) {
    state_->handler = std::move(handler);
    state_->limit = limit;
}

bool SampleGate::pass(SampleBuffer sample) {
    if (!state_->open) return false;
    if (state_->waiting.fetch_add(1) >= state_->limit) {
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

void SampleGate::close() {
    state_->open = false;
    if (!queue_.isCurrent()) const std::lock_guard none(state_->handling);
}

}  // namespace platform

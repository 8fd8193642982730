#pragma once

#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <cstddef>
#include <functional>
#include <memory>

namespace platform {

/// Between a source of samples and the handler that takes them on a serial queue: keeps the number of
/// samples that wait bounded, and guarantees that nothing is handled once the gate is closed.
class SampleGate {
  public:
    using SampleHandler = std::function<void(const SampleBuffer&)>;

    /// `queue` outlives the gate. No more than `limit` samples wait in it at one time.
    SampleGate(SerialQueue& queue, SampleHandler handler, std::size_t limit);
    ~SampleGate() { close(); }
    SampleGate(const SampleGate&) = delete;
    SampleGate& operator=(const SampleGate&) = delete;

    /// Queues a sample for its handler; false when it was dropped. Any thread; never waits for the handler.
    bool pass(SampleBuffer sample);
    /// Waits for a handler that is running, unless called by the handler itself.
    void close();

  private:
    struct State;
    SerialQueue& queue_;
    std::shared_ptr<State> state_;
};

}  // namespace platform

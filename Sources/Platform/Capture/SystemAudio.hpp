#pragma once

#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <functional>

namespace platform {

/// What the desktop plays, less what this process plays: 48 kHz stereo float. Presentation times are
/// host-clock times of the moment when the sound can be heard. While nothing plays nothing is delivered.
/// Operations are called on one thread at a time, never on the queue that receives samples.
class SystemAudioSource {
  public:
    using SampleHandler = std::function<void(const SampleBuffer&)>;

    virtual ~SystemAudioSource() = default;
    /// Begins delivering on `queue`, which outlives the source, as soon as the media server is there; should
    /// it end, the source goes on when it is back. Never fails: who wants to know asks
    /// `CaptureService::unavailable`.
    virtual void start(SerialQueue& queue, SampleHandler handler) = 0;
    /// After it returns no handler is running and none is called.
    virtual void stop() = 0;
};

}  // namespace platform

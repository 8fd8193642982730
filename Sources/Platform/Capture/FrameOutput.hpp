#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/SampleGate.hpp"

#include <cstdint>
#include <memory>

namespace platform {

/// Where a screen stream's frames go: the queue and the handler of its one screen output. Operations on one
/// thread at a time, but `close`.
class FrameOutput {
  public:
    /// Takes an output of the stream; screens have no sound, so nothing ever comes of an audio one. Throws
    /// PlatformError("ScreenCapture", `badConfiguration`) when that output is taken.
    void add(StreamOutputType type, SerialQueue& queue, CaptureStream::OutputHandler handler);
    /// Queues a frame for the handler. `dropped`: frames lost before it. False when the queue has no room;
    /// the next one reports that.
    bool deliver(MediaTime time, ConstPixelBufferRef image, std::uint32_t dropped);
    /// After it returns no handler is running and none is called. Any thread.
    void close();

  private:
    std::unique_ptr<SampleGate<CapturedSample>> gate_;
    bool hasAudio_ = false;
    std::uint32_t undelivered_ = 0;
};

}  // namespace platform

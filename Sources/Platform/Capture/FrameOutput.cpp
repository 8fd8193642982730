#include "Platform/Capture/FrameOutput.hpp"

#include <utility>

namespace platform {

void FrameOutput::add(StreamOutputType type, SerialQueue& queue, CaptureStream::OutputHandler handler) {
    const bool isTaken = type == StreamOutputType::screen ? gate_ != nullptr : hasAudio_;
    if (isTaken)
        throw PlatformError("ScreenCapture", badConfiguration, "This output of the stream is already taken.");
    if (type == StreamOutputType::audio)
        hasAudio_ = true;
    else
        gate_ = std::make_unique<SampleGate<CapturedSample>>(queue, std::move(handler));
}

bool FrameOutput::deliver(MediaTime time, ConstPixelBufferRef image, std::uint32_t dropped) {
    if (!gate_) return true;
    const bool isDelivered =
        gate_->pass({{time, std::move(image), nullptr}, FrameStatus::complete, undelivered_ + dropped});
    undelivered_ = isDelivered ? 0 : undelivered_ + dropped + 1;
    return isDelivered;
}

void FrameOutput::close() {
    if (gate_) gate_->close();
}

}  // namespace platform

#include "Platform/Capture/FrameOutput.hpp"

#include <mutex>
#include <utility>

namespace platform {

/// Between a stream's thread and the queue; closing it waits for a handler that is running.
struct FrameOutput::Gate {
    std::mutex mutex;
    bool isOpen = true;
    CaptureStream::OutputHandler handler;
};

FrameOutput::FrameOutput() : gate_(std::make_shared<Gate>()) {}

void FrameOutput::add(StreamOutputType type, SerialQueue& queue, CaptureStream::OutputHandler handler) {
    const bool isTaken = type == StreamOutputType::screen ? queue_ != nullptr : hasAudio_;
    if (isTaken)
        throw PlatformError("ScreenCapture", badConfiguration, "This output of the stream is already taken.");
    if (type == StreamOutputType::audio) {
        hasAudio_ = true;
        return;
    }
    queue_ = &queue;
    gate_->handler = std::move(handler);
}

bool FrameOutput::deliver(MediaTime time, ConstPixelBufferRef image, std::uint32_t dropped) {
    if (queue_ == nullptr) return true;
    CapturedSample sample;
    sample.buffer.presentationTime = time;
    sample.buffer.image = std::move(image);
    sample.status = FrameStatus::complete;
    sample.droppedBefore = undelivered_ + dropped;
    const bool isDelivered = queue_->async([gate = gate_, sample = std::move(sample)] {
        const std::lock_guard passing(gate->mutex);
        if (gate->isOpen) gate->handler(sample);
    });
    undelivered_ = isDelivered ? 0 : undelivered_ + dropped + 1;
    return isDelivered;
}

void FrameOutput::close() {
    const std::lock_guard closing(gate_->mutex);
    gate_->isOpen = false;
}

}  // namespace platform

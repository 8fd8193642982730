#include "Platform/Media/FFmpeg/WriterInput.hpp"

#include <chrono>
#include <exception>
#include <utility>

namespace platform::ffmpeg {
namespace {

// So long without a sample is a pause.
constexpr std::chrono::milliseconds pauseLength{700};

}  // namespace

WriterInput::WriterInput(WriterState& state, double capacity, std::string threadName)
    : state_(state), queue_(capacity), threadName_(std::move(threadName)) {
    state_.addQueue(queue_);
}

bool WriterInput::waitUntilReady(double seconds) {
    return state_.isWriting() && queue_.waitForRoom(std::chrono::duration<double>(seconds)) &&
           state_.isWriting();
}

bool WriterInput::append(const SampleBuffer& sample) {
    if (!state_.isWriting() || !state_.sessionStart() || !sample.isValid() || !accepts(sample)) return false;
    return queue_.tryPush(sample, weight(sample));
}

void WriterInput::start() {
    thread_ = NamedThread(threadName_, [this] { run(); });
}

void WriterInput::run() {
    try {
        for (;;) {
            const SampleQueue::Taken taken = queue_.pop(pauseLength);
            if (taken.sample)
                encode(*taken.sample,
                       taken.sample->presentationTime.seconds() - state_.sessionStart()->seconds());
            else if (taken.ended)
                break;
            else {
                pause();
                state_.muxer.settle();
            }
        }
        if (state_.isWriting()) encodeRest();
    } catch (const PlatformError& problem) {
        state_.end(AssetWriter::Status::failed, problem);
    } catch (const std::exception& problem) {
        state_.end(
            AssetWriter::Status::failed,
            PlatformError("FFmpeg", -1, std::string("Writing a movie failed: ") + problem.what() + "."));
    }
}

void WriterInput::deliver(AVPacket& packet, AVRational base) {
    if (isWanted(packet)) state_.muxer.write(track_, packet, base);
    av_packet_unref(&packet);
}

}  // namespace platform::ffmpeg

#include "Fakes/FakeScreenCapture.hpp"

#include <cstring>
#include <utility>

namespace platform {

namespace {

std::size_t indexOf(StreamOutputType type) { return type == StreamOutputType::screen ? 0 : 1; }

}  // namespace

int FakeStream::stopRequests() const {
    const std::lock_guard lock(mutex_);
    return stopRequests_;
}

bool FakeStream::deliver(StreamOutputType type, const CapturedSample& sample) {
    const std::lock_guard delivering(delivery_);
    Output output;
    {
        const std::lock_guard lock(mutex_);
        output = outputs_[indexOf(type)];
        if (!running_ || output.queue == nullptr) return false;
    }
    output.queue->sync([&] { output.handler(sample); });
    return true;
}

bool FakeStream::deliverFrame(double seconds, std::optional<FrameStatus> status,
                              ConstPixelBufferRef picture) {
    if (!picture) {
        const auto plain =
            std::make_shared<PixelBuffer>(PixelFormat::bgra, configuration.width, configuration.height);
        const Plane& plane = plain->plane();
        std::memset(plane.data, 0x80, static_cast<std::size_t>(plane.stride) * plane.height);
        picture = plain;
    }
    CapturedSample sample;
    sample.buffer.presentationTime = MediaTime::fromSeconds(seconds, nanosecondTimescale);
    sample.buffer.image = std::move(picture);
    sample.status = status;
    return deliver(StreamOutputType::screen, sample);
}

bool FakeStream::deliverAudio(double seconds, std::size_t frames) {
    auto sound = std::make_shared<AudioBuffer>();
    sound->format = {configuration.sampleRate, configuration.channelCount, true};
    sound->bytes.resize(frames * sound->format.bytesPerFrame());
    CapturedSample sample;
    sample.buffer.presentationTime = MediaTime::fromSeconds(seconds, nanosecondTimescale);
    sample.buffer.audio = std::move(sound);
    return deliver(StreamOutputType::audio, sample);
}

void FakeStream::stopByItself(const PlatformError& error) {
    std::function<void(const PlatformError&)> onStopped;
    {
        const std::lock_guard delivering(delivery_);
        const std::lock_guard lock(mutex_);
        if (!running_) return;
        running_ = false;
        onStopped = std::exchange(onStopped_, nullptr);
    }
    if (onStopped) onStopped(error);
}

bool FakeStream::finish(Done& waiting, bool runs, const std::optional<PlatformError>& error) {
    Done done;
    {
        const std::lock_guard lock(mutex_);
        if (!waiting) return false;
        running_ = runs && stopRequests_ == 0;
        done = std::exchange(waiting, nullptr);
    }
    done(error);
    return true;
}

bool FakeStream::finishStart() { return finish(waitingStart_, !startError_, startError_); }
bool FakeStream::finishStop() { return finish(waitingStop_, false, stopError_); }

/// What the owner of the stream holds.
class FakeStreamHandle final : public CaptureStream {
  public:
    explicit FakeStreamHandle(std::shared_ptr<FakeStream> stream) : stream_(std::move(stream)) {}
    ~FakeStreamHandle() override {
        waitForHandlers();
        const std::lock_guard lock(stream_->mutex_);
        stream_->running_ = false;
        stream_->outputs_ = {};
        stream_->onStopped_ = nullptr;
    }

    void addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) override {
        const std::lock_guard lock(stream_->mutex_);
        stream_->outputs_[indexOf(type)] = {&queue, std::move(handler)};
    }

    void startCapture(std::function<void(std::optional<PlatformError>)> done) override {
        {
            const std::lock_guard lock(stream_->mutex_);
            stream_->waitingStart_ = std::move(done);
            if (stream_->holdsStart_) return;
        }
        stream_->finishStart();
    }

    void stopCapture(std::function<void(std::optional<PlatformError>)> done) override {
        {
            const std::lock_guard lock(stream_->mutex_);
            ++stream_->stopRequests_;
            stream_->running_ = false;
            stream_->waitingStop_ = std::move(done);
        }
        waitForHandlers();
        if (!stream_->holdsStop_) stream_->finishStop();
    }

  private:
    void waitForHandlers() { const std::lock_guard none(stream_->delivery_); }

    std::shared_ptr<FakeStream> stream_;
};

void FakeScreenCapture::requestContent(ContentKind kind, std::uint32_t, Granted done) {
    if (!hostTraits.asksUser) return done(std::nullopt, nullptr);
    grantRequests.push_back(kind);
    if (grantError) return done(grantError, nullptr);
    const auto given = std::make_shared<ContentGrant>();
    grant = given;
    done(std::nullopt, given);
}

ShareableContent FakeScreenCapture::shareableContent() {
    if (contentError) throw *contentError;
    return content;
}

std::unique_ptr<CaptureStream> FakeScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(const PlatformError&)> onStopped) {
    if (makeStreamError) throw *makeStreamError;
    auto stream = std::make_shared<FakeStream>();
    stream->filter = filter;
    stream->configuration = configuration;
    stream->onStopped_ = std::move(onStopped);
    stream->startError_ = startError;
    stream->stopError_ = stopError;
    stream->holdsStart_ = holdsStart;
    stream->holdsStop_ = holdsStop;
    streams.push_back(stream);
    return std::make_unique<FakeStreamHandle>(std::move(stream));
}

}  // namespace platform

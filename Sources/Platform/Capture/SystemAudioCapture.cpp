#include "Platform/Capture/SystemAudioCapture.hpp"

#include <utility>

namespace platform {

namespace {

class StreamWithSound final : public CaptureStream {
  public:
    StreamWithSound(std::unique_ptr<CaptureStream> screen, std::unique_ptr<SystemAudioSource> sound)
        : screen_(std::move(screen)), sound_(std::move(sound)) {}

    ~StreamWithSound() override { sound_->stop(); }

    void addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) override {
        if (type == StreamOutputType::screen) {
            screen_->addOutput(type, queue, std::move(handler));
            return;
        }
        if (soundQueue_ != nullptr)
            throw PlatformError("ScreenCapture", 1, "This output of the stream is already taken.");
        soundQueue_ = &queue;
        soundHandler_ = std::move(handler);
    }

    void startCapture(std::function<void(std::optional<PlatformError>)> done) override {
        if (soundQueue_ != nullptr)
            sound_->start(*soundQueue_, [handler = soundHandler_](const SampleBuffer& sample) {
                handler({sample, std::nullopt});
            });
        screen_->startCapture(std::move(done));
    }

    void stopCapture(std::function<void(std::optional<PlatformError>)> done) override {
        sound_->stop();
        screen_->stopCapture(std::move(done));
    }

  private:
    std::unique_ptr<CaptureStream> screen_;
    std::unique_ptr<SystemAudioSource> sound_;
    SerialQueue* soundQueue_ = nullptr;
    OutputHandler soundHandler_;
};

}  // namespace

SystemAudioCapture::SystemAudioCapture(std::shared_ptr<ScreenCaptureService> screen,
                                       std::function<std::unique_ptr<SystemAudioSource>()> makeSource)
    : screen_(std::move(screen)), makeSource_(std::move(makeSource)) {}

ScreenCaptureService::Traits SystemAudioCapture::traits() const { return screen_->traits(); }

void SystemAudioCapture::requestContent(ContentKind kind, std::uint32_t contentID, Granted done) {
    screen_->requestContent(kind, contentID, std::move(done));
}

ShareableContent SystemAudioCapture::shareableContent() { return screen_->shareableContent(); }

std::unique_ptr<CaptureStream> SystemAudioCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(const PlatformError&)> onStopped) {
    StreamConfiguration picturesOnly = configuration;
    picturesOnly.capturesAudio = false;
    auto stream = screen_->makeStream(filter, picturesOnly, std::move(onStopped));
    if (!configuration.capturesAudio) return stream;
    return std::make_unique<StreamWithSound>(std::move(stream), makeSource_());
}

std::string SystemAudioCapture::implementation() const { return screen_->implementation(); }

}  // namespace platform

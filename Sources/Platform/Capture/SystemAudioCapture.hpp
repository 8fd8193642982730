#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/SystemAudio.hpp"

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Adds the system's sound to the streams of another screen capture service: a stream that is configured
/// to capture audio delivers it to its audio output while it runs. The picture is captured whether the sound
/// can be had or not.
class SystemAudioCapture final : public ScreenCaptureService {
  public:
    SystemAudioCapture(std::shared_ptr<ScreenCaptureService> screen,
                       std::function<std::unique_ptr<SystemAudioSource>()> makeSource);

    Traits traits() const override;
    void requestContent(ContentKind kind, std::uint32_t contentID, Granted done) override;
    ShareableContent shareableContent() override;
    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const StreamConfiguration& configuration,
                                              std::function<void(const PlatformError&)> onStopped) override;
    std::string implementation() const override;

  private:
    std::shared_ptr<ScreenCaptureService> screen_;
    std::function<std::unique_ptr<SystemAudioSource>()> makeSource_;
};

}  // namespace platform

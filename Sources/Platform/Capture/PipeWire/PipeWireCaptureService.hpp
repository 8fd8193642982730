#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/SystemAudio.hpp"
#include "Platform/Foundation/LibraryVersion.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform {

namespace pipewire {
class PipeWireConnection;
}

/// Cameras, microphones and system audio through the desktop's PipeWire server. Keeps a connection to the
/// server for as long as the service or anything made by it lives.
class PipeWireCaptureService final : public CaptureService {
  public:
    /// Does not wait for the server. Throws PlatformError when the library itself cannot be used.
    PipeWireCaptureService();
    ~PipeWireCaptureService() override;

    CaptureDevices devices() override;
    void setDevicesChangedHandler(std::function<void()> changed) override;
    std::unique_ptr<CaptureSession> makeSession() override;
    std::optional<PlatformError> unavailable() override;
    std::string implementation() const override { return "PipeWire"; }

    std::unique_ptr<SystemAudioSource> makeSystemAudio();
    /// For others that talk to the same server.
    const std::shared_ptr<pipewire::PipeWireConnection>& connection() const { return connection_; }

  private:
    class DeviceWatch;
    std::shared_ptr<pipewire::PipeWireConnection> connection_;
    std::unique_ptr<DeviceWatch> watch_;
};

/// Of the library, whichever server answers. Any thread.
LibraryVersion pipeWireVersion();

}  // namespace platform

#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/DeviceAccess.hpp"

#include <functional>
#include <memory>

namespace platform {

/// There is no consent dialog on this kind of desktop: a user who may open a device may use it. Consent is
/// lacking only where there are devices, this user may open none of them, and the media graph offers none
/// either. A machine without a camera or a microphone has nothing to consent to. Main thread.
class PipeWireDeviceAccess final : public DeviceAccess {
  public:
    /// What the machine has of one kind.
    enum class Hardware {
        absent,
        allowed,    ///< this user may open at least one
        forbidden,  ///< this user may open none
    };

    explicit PipeWireDeviceAccess(std::shared_ptr<CaptureService> capture,
                                  std::function<Hardware(MediaType)> hardware = ownHardware);

    AuthorizationStatus authorizationStatus(MediaType type) override;
    /// Answers before it returns: there is nobody to ask.
    void requestAccess(MediaType type, std::function<void(bool granted)> answered) override;

    /// What the device folder of the system says.
    static Hardware ownHardware(MediaType type);

  private:
    std::shared_ptr<CaptureService> capture_;
    std::function<Hardware(MediaType)> hardware_;
};

}  // namespace platform

#include "Platform/Capture/PipeWire/PipeWireDeviceAccess.hpp"

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace platform {

PipeWireDeviceAccess::PipeWireDeviceAccess(std::shared_ptr<CaptureService> capture,
                                           std::function<Hardware(MediaType)> hardware)
    : capture_(std::move(capture)), hardware_(std::move(hardware)) {}

AuthorizationStatus PipeWireDeviceAccess::authorizationStatus(MediaType type) {
    if (hardware_(type) != Hardware::forbidden) return AuthorizationStatus::authorized;
    // The media server may run with other rights than this process.
    const CaptureDevices offered = capture_->devices();
    const auto& ofType = type == MediaType::video ? offered.cameras : offered.microphones;
    return ofType.empty() ? AuthorizationStatus::denied : AuthorizationStatus::authorized;
}

void PipeWireDeviceAccess::requestAccess(MediaType type, std::function<void(bool)> answered) {
    answered(authorizationStatus(type) == AuthorizationStatus::authorized);
}

PipeWireDeviceAccess::Hardware PipeWireDeviceAccess::ownHardware(MediaType type) {
    const bool video = type == MediaType::video;
    Hardware found = Hardware::absent;
    std::error_code error;
    // The kernel calls cameras /dev/video0, capture devices for sound /dev/snd/pcmC0D0c.
    for (std::filesystem::directory_iterator entry(video ? "/dev" : "/dev/snd", error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        const bool ofType =
            video ? name.starts_with("video") : name.starts_with("pcm") && name.ends_with('c');
        if (!ofType) continue;
        if (access(entry->path().c_str(), R_OK | W_OK) == 0) return Hardware::allowed;
        found = Hardware::forbidden;
    }
    return found;
}

}  // namespace platform

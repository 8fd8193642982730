#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/DeviceAccess.hpp"
#include "Platform/Desktop/Desktop.hpp"
#include "Platform/Desktop/Inhibitor.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Media/MediaService.hpp"

#include <memory>

namespace platform {

/// What of the host a recording works with. Every pointer but the last is set.
struct RecordingHost {
    std::shared_ptr<Clock> clock;
    std::shared_ptr<MainLoop> mainLoop;
    std::shared_ptr<MediaService> media;
    std::shared_ptr<CaptureService> capture;              ///< cameras and microphones
    std::shared_ptr<ScreenCaptureService> screenCapture;  ///< with the system's sound where that can be had
    std::shared_ptr<DeviceAccess> deviceAccess;
    std::shared_ptr<Desktop> desktop;
    std::shared_ptr<Inhibitor> inhibitor{};  ///< may be null: then nothing is held back
};

}  // namespace platform

#include "Platform/PlatformServices.hpp"

#include "Platform/Capture/PipeWire/PipeWireCaptureService.hpp"
#include "Platform/Capture/PipeWire/PipeWireDeviceAccess.hpp"
#include "Platform/Capture/SystemAudioCapture.hpp"
#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"
#include "Platform/Desktop/Posix/PosixRelauncher.hpp"
#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"
#include "Platform/Desktop/Qt/QtFileBrowser.hpp"
#include "Platform/Desktop/Qt/QtStatusItem.hpp"
#include "Platform/Desktop/Qt/QtSystemSettings.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Platform/Desktop/Xcb/XcbDesktop.hpp"
#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"
#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"
#include "Platform/Desktop/Xcb/XcbScreenAccess.hpp"
#include "Platform/Desktop/Xcb/XcbWindowManager.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Platform/Foundation/Qt/QtUserDefaults.hpp"
#include "Platform/Foundation/UserDefaults.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/Media/Mpv/MpvPlayerService.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"

#include <utility>

namespace platform {

namespace {

/// Stands where there is no display server.
class UnavailableDesktop final : public Desktop {
  public:
    PointerState pointer() override { return {}; }
    std::vector<Screen> screens() override { return {}; }
    std::optional<Rect> windowBounds(std::uint32_t) override { return std::nullopt; }
    std::string implementation() const override { return "none"; }
};

void chooseDesktop(PlatformServices& services) {
    try {
        services.desktop = std::make_shared<XcbDesktop>();
        services.keys = std::make_shared<XcbKeyGrabber>(services.mainLoop);
        services.compositor = std::make_shared<XcbCompositor>();
        services.windowManager = std::make_shared<XcbWindowManager>();
        services.pointerWatcher = std::make_shared<XcbPointerWatcher>(services.mainLoop);
    } catch (const PlatformError&) {
        services.desktop = std::make_shared<UnavailableDesktop>();
    }
}

}  // namespace

void PlatformServices::requireDisplay() { const XcbConnection connection; }

PlatformServices PlatformServices::makeDefault(const std::string& ownBundleIdentifier,
                                               const std::filesystem::path& modelsFolder) {
    UserDefaults::setStandard(std::make_shared<QtUserDefaults>());
    PlatformServices services;
    services.clock = std::make_shared<HostClock>();
    services.mainLoop = std::make_shared<QtMainLoop>();
    services.media = makeFFmpegMediaService();
    services.players = makeMpvPlayerService(services.mainLoop, services.clock, services.media);
    const auto pipeWire = std::make_shared<PipeWireCaptureService>();
    services.capture = pipeWire;
    // Who wants the sound asks `capture->unavailable()` beforehand; the picture is captured either way.
    services.screenCapture = std::make_shared<SystemAudioCapture>(
        std::make_shared<XcbScreenCaptureService>("", ownBundleIdentifier),
        [pipeWire] { return pipeWire->makeSystemAudio(); });
    chooseDesktop(services);
    services.fileBrowser = std::make_shared<QtFileBrowser>();
    services.deviceAccess = std::make_shared<PipeWireDeviceAccess>(services.capture);
    services.screenAccess = std::make_shared<XcbScreenAccess>();
    services.systemSettings = std::make_shared<QtSystemSettings>();
    services.relauncher = std::make_shared<PosixRelauncher>();
    services.singleInstance = std::make_shared<PosixSingleInstance>(services.mainLoop, ownBundleIdentifier);
    services.statusItems = std::make_shared<QtStatusItemService>(services.mainLoop);
    services.vision = std::make_shared<OpenCvVisionService>(modelsFolder);
    return services;
}

}  // namespace platform

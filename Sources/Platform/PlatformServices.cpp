#include "Platform/PlatformServices.hpp"

#include "Platform/Capture/PipeWire/PipeWireCaptureService.hpp"
#include "Platform/Capture/PipeWire/PipeWireDeviceAccess.hpp"
#include "Platform/Capture/Portal/PortalScreenCapture.hpp"
#include "Platform/Capture/SystemAudioCapture.hpp"
#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Evdev/EvdevButtons.hpp"
#include "Platform/Desktop/Portal/CastDesktop.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"
#include "Platform/Desktop/Portal/PortalKeys.hpp"
#include "Platform/Desktop/Portal/PortalScreenAccess.hpp"
#include "Platform/Desktop/Posix/PosixRelauncher.hpp"
#include "Platform/Desktop/Posix/PosixSingleInstance.hpp"
#include "Platform/Desktop/Qt/BusInhibitor.hpp"
#include "Platform/Desktop/Qt/QtFileBrowser.hpp"
#include "Platform/Desktop/Qt/QtNotifications.hpp"
#include "Platform/Desktop/Qt/QtStatusItem.hpp"
#include "Platform/Desktop/Qt/QtSystemSettings.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Desktop/Xcb/XcbDesktop.hpp"
#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"
#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"
#include "Platform/Desktop/Xcb/XcbScreenAccess.hpp"
#include "Platform/Desktop/Xcb/XcbScreenInhibitor.hpp"
#include "Platform/Desktop/Xcb/XcbWindowManager.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Platform/Foundation/Qt/QtUserDefaults.hpp"
#include "Platform/Foundation/UserDefaults.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/Media/MoviePlayer.hpp"
#include "Platform/Media/PipeWire/PipeWireAudioOutput.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Platform/Xcb/XcbMonitors.hpp"

#include <utility>

namespace platform {

namespace {

bool isServerXwayland() {
    try {
        XcbConnection connection;
        return isXwayland(connection);
    } catch (const PlatformError&) {
        return false;  // no display; the service that needs one says so
    }
}

/// What the session is by its variables; but an X server that is XWayland outweighs them. Throws
/// PlatformError when one of them forces what then would record nothing but black.
Session findSession() {
    const Session session = decideSession();
    if (session.type == SessionType::wayland || !isServerXwayland()) return session;
    if (session.isForced)
        throw PlatformError("Desktop", 1,
                            session.reason +
                                ", but this is a Wayland session: its X server, XWayland, has no picture "
                                "of the screen. Unset the variable.");
    return {SessionType::wayland, "XWayland", false};
}

/// Stands where there is no display server.
class UnavailableDesktop final : public Desktop {
  public:
    PointerState pointer() override { return {}; }
    std::vector<Screen> screens() override { return {}; }
    std::optional<Rect> windowBounds(std::uint32_t) override { return std::nullopt; }
    std::string implementation() const override { return "none"; }
};

/// Wayland shows no window through what is below it by any other means than compositing.
class AlwaysCompositing final : public Compositor {
  public:
    bool isRunning() override { return true; }
};

std::shared_ptr<ScreenCaptureService> chooseX11(PlatformServices& services,
                                                const std::string& ownBundleIdentifier) {
    try {
        services.desktop = std::make_shared<XcbDesktop>();
        services.keys = std::make_shared<XcbKeyGrabber>(services.mainLoop);
        services.compositor = std::make_shared<XcbCompositor>();
        services.windowManager = std::make_shared<XcbWindowManager>();
        services.pointerWatcher = std::make_shared<XcbPointerWatcher>(services.mainLoop);
    } catch (const PlatformError&) {
        services.desktop = std::make_shared<UnavailableDesktop>();
    }
    services.screenAccess = std::make_shared<XcbScreenAccess>();
    return std::make_shared<XcbScreenCaptureService>("", ownBundleIdentifier);
}

std::shared_ptr<ScreenCaptureService> chooseWayland(PlatformServices& services) {
    const auto portal = std::make_shared<PortalBus>();
    const auto screen = std::make_shared<CastScreen>();
    services.buttons = std::make_shared<EvdevButtons>("/dev/input", EvdevButtons::streamsOfEnvironment());
    services.desktop = std::make_shared<CastDesktop>(screen, services.buttons, services.clock);
    services.compositor = std::make_shared<AlwaysCompositing>();
    std::shared_ptr<KeyGrabber> windowKeys;
    try {
        // Of our own windows, which are shown through XWayland.
        windowKeys = std::make_shared<XcbKeyGrabber>(services.mainLoop);
        services.windowManager = std::make_shared<XcbWindowManager>();
    } catch (const PlatformError&) {
        // Without XWayland there are no windows; the service that needs them says so.
    }
    services.keys = std::make_shared<PortalKeys>(portal, windowKeys);
    const auto capture =
        std::make_shared<PortalScreenCapture>(portal, services.mainLoop, screen, UserDefaults::standard());
    services.screenAccess = std::make_shared<PortalScreenAccess>([capture] {
        try {
            capture->shareableContent();
            return true;
        } catch (const PlatformError&) {
            return false;
        }
    });
    return capture;
}

}  // namespace

void PlatformServices::requireDisplay() { const XcbConnection connection; }

PlatformServices PlatformServices::makeDefault(const std::string& ownBundleIdentifier,
                                               const std::filesystem::path& modelsFolder) {
    UserDefaults::setStandard(std::make_shared<QtUserDefaults>());
    PlatformServices services;
    services.session = findSession();
    services.clock = std::make_shared<HostClock>();
    services.mainLoop = std::make_shared<QtMainLoop>();
    services.media = makeFFmpegMediaService();
    const auto pipeWire = std::make_shared<PipeWireCaptureService>();
    services.capture = pipeWire;
    services.players = makeMoviePlayerService(services.mainLoop, services.clock, services.media,
                                              makePipeWireAudioOutputs(pipeWire->connection()));
    const auto screenCapture = services.session.type == SessionType::wayland
                                   ? chooseWayland(services)
                                   : chooseX11(services, ownBundleIdentifier);
    // Who wants the sound asks `capture->unavailable()` beforehand; the picture is captured either way.
    services.screenCapture = std::make_shared<SystemAudioCapture>(
        screenCapture, [pipeWire] { return pipeWire->makeSystemAudio(); });
    std::vector<std::shared_ptr<Inhibitor>> inhibitors{std::make_shared<BusInhibitor>(ownBundleIdentifier)};
    // XWayland's screen saver blanks nothing.
    if (services.session.type == SessionType::x11)
        inhibitors.push_back(std::make_shared<XcbScreenInhibitor>());
    services.inhibitor = std::make_shared<InhibitorGroup>(std::move(inhibitors));
    services.fileBrowser = std::make_shared<QtFileBrowser>();
    services.notifications = std::make_shared<QtNotifications>();
    services.deviceAccess = std::make_shared<PipeWireDeviceAccess>(services.capture);
    services.systemSettings = std::make_shared<QtSystemSettings>();
    services.relauncher = std::make_shared<PosixRelauncher>();
    services.singleInstance = instance(ownBundleIdentifier, services.mainLoop);
    services.statusItems = std::make_shared<QtStatusItemService>(services.mainLoop);
    services.vision = std::make_shared<OpenCvVisionService>(modelsFolder);
    return services;
}

std::shared_ptr<SingleInstance> PlatformServices::instance(const std::string& name,
                                                           std::shared_ptr<MainLoop> mainLoop) {
    return std::make_shared<PosixSingleInstance>(std::move(mainLoop), name);
}

std::vector<LibraryVersion> PlatformServices::libraryVersions() {
    std::vector<LibraryVersion> versions{qtVersion()};
    for (auto& each : mediaLibraryVersions()) versions.push_back(std::move(each));
    versions.insert(versions.end(), {pipeWireVersion(), openCvVersion(), xcbVersion()});
    return versions;
}

}  // namespace platform

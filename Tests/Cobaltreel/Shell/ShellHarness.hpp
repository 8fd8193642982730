#pragma once

#include "Cobaltreel/Capture/ScriptedSurroundings.hpp"
#include "Cobaltreel/Shell/AppDelegate.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/ScriptedAlerts.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Platform/Capture/ScriptedCapture.hpp"
#include "Platform/Capture/ScriptedDeviceAccess.hpp"
#include "Platform/Capture/ScriptedScreenCapture.hpp"
#include "Platform/Desktop/ScriptedDesktop.hpp"
#include "Platform/Desktop/ScriptedKeyGrabber.hpp"
#include "Platform/Desktop/ScriptedShellServices.hpp"
#include "Platform/Foundation/Eventually.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Foundation/VirtualTime.hpp"
#include "Platform/Media/ScriptedMedia.hpp"

#include <chrono>
#include <memory>
#include <optional>

namespace cobaltreel {

/// The shell among fakes, in virtual time.
class ShellTest : public TemporaryHome {
  protected:
    ShellTest() {
        platform::Display display;
        display.displayID = 11;
        display.frame = {0, 0, 1280, 720};
        screenCapture->content.displays = {display};
        desktop->screenList = {{11, {0, 0, 1280, 720}, 1}};
        capture->scriptedDevices.microphones = {{"mic", "Microphone", platform::MediaType::audio}};
        media->writing.createsFile = true;
    }
    ~ShellTest() override {
        shell.reset();
        time->drain();
    }

    AppDelegate& launch() {
        platform::PlatformServices host;
        host.clock = time;
        host.mainLoop = time;
        host.media = media;
        host.capture = capture;
        host.screenCapture = screenCapture;
        host.desktop = desktop;
        host.keys = keys;
        host.deviceAccess = deviceAccess;
        host.screenAccess = screenAccess;
        host.systemSettings = systemSettings;
        host.relauncher = relauncher;
        host.statusItems = tray;
        host.notifications = notifications;
        RecordingServices recording;
        recording.clock = time;
        recording.mainLoop = time;
        recording.media = media;
        recording.capture = capture;
        recording.screenCapture = screenCapture;
        recording.deviceAccess = deviceAccess;
        recording.desktop = desktop;
        recording.defaults = defaults;
        recording.bubble = std::make_shared<ScriptedBubble>();
        recording.countdown = countdown;
        recording.windows = windows;
        recording.alerts = alerts;
        recording.freeBytes = [](const std::filesystem::path&) { return std::int64_t{100'000'000'000}; };
        recording.now = [this] {
            return std::chrono::system_clock::time_point(
                std::chrono::duration_cast<std::chrono::system_clock::duration>(
                    std::chrono::duration<double>(1.7e9 + time->now())));
        };
        shell.emplace(host, recording);
        shell->applicationDidFinishLaunching();
        return *shell;
    }
    template <typename Condition>
    bool eventually(Condition condition) {
        return platform::eventually(*time, condition);
    }
    bool stateBecomes(RecordingCoordinator::State state) {
        return eventually([&] { return shell->coordinator().state() == state; });
    }

    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::ScriptedMedia> media = std::make_shared<platform::ScriptedMedia>();
    std::shared_ptr<platform::ScriptedCaptureService> capture =
        std::make_shared<platform::ScriptedCaptureService>();
    std::shared_ptr<platform::ScriptedScreenCapture> screenCapture =
        std::make_shared<platform::ScriptedScreenCapture>();
    std::shared_ptr<platform::ScriptedDesktop> desktop = std::make_shared<platform::ScriptedDesktop>();
    std::shared_ptr<platform::ScriptedKeyGrabber> keys = std::make_shared<platform::ScriptedKeyGrabber>();
    std::shared_ptr<platform::ScriptedDeviceAccess> deviceAccess =
        std::make_shared<platform::ScriptedDeviceAccess>();
    std::shared_ptr<platform::ScriptedScreenAccess> screenAccess =
        std::make_shared<platform::ScriptedScreenAccess>();
    std::shared_ptr<platform::ScriptedSystemSettings> systemSettings =
        std::make_shared<platform::ScriptedSystemSettings>();
    std::shared_ptr<platform::ScriptedRelauncher> relauncher =
        std::make_shared<platform::ScriptedRelauncher>();
    std::shared_ptr<platform::ScriptedStatusItems> tray = std::make_shared<platform::ScriptedStatusItems>();
    std::shared_ptr<platform::ScriptedNotifications> notifications =
        std::make_shared<platform::ScriptedNotifications>();
    std::shared_ptr<platform::InMemoryUserDefaults> defaults =
        std::make_shared<platform::InMemoryUserDefaults>();
    std::shared_ptr<ScriptedCountdown> countdown = std::make_shared<ScriptedCountdown>();
    std::shared_ptr<ScriptedWindows> windows = std::make_shared<ScriptedWindows>();
    std::shared_ptr<ScriptedAlerts> alerts = std::make_shared<ScriptedAlerts>();
    std::optional<AppDelegate> shell;
};

}  // namespace cobaltreel

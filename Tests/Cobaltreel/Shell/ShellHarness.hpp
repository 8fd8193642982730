#pragma once

#include "Cobaltreel/Shell/AppDelegate.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Fakes/FakeAlerts.hpp"
#include "Fakes/FakeCapture.hpp"
#include "Fakes/FakeDesktop.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeKeyGrabber.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Fakes/FakeShellServices.hpp"
#include "Fakes/FakeSurroundings.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Foundation/Eventually.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

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
        capture->fakeDevices.microphones = {{"mic", "Microphone", platform::MediaType::audio}};
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
        recording.bubble = std::make_shared<FakeBubble>();
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
    std::shared_ptr<platform::FakeMedia> media = std::make_shared<platform::FakeMedia>();
    std::shared_ptr<platform::FakeCaptureService> capture = std::make_shared<platform::FakeCaptureService>();
    std::shared_ptr<platform::FakeScreenCapture> screenCapture =
        std::make_shared<platform::FakeScreenCapture>();
    std::shared_ptr<platform::FakeDesktop> desktop = std::make_shared<platform::FakeDesktop>();
    std::shared_ptr<platform::FakeKeyGrabber> keys = std::make_shared<platform::FakeKeyGrabber>();
    std::shared_ptr<platform::FakeDeviceAccess> deviceAccess = std::make_shared<platform::FakeDeviceAccess>();
    std::shared_ptr<platform::FakeScreenAccess> screenAccess = std::make_shared<platform::FakeScreenAccess>();
    std::shared_ptr<platform::FakeSystemSettings> systemSettings =
        std::make_shared<platform::FakeSystemSettings>();
    std::shared_ptr<platform::FakeRelauncher> relauncher = std::make_shared<platform::FakeRelauncher>();
    std::shared_ptr<platform::FakeStatusItems> tray = std::make_shared<platform::FakeStatusItems>();
    std::shared_ptr<platform::FakeNotifications> notifications =
        std::make_shared<platform::FakeNotifications>();
    std::shared_ptr<platform::InMemoryUserDefaults> defaults =
        std::make_shared<platform::InMemoryUserDefaults>();
    std::shared_ptr<FakeCountdown> countdown = std::make_shared<FakeCountdown>();
    std::shared_ptr<FakeWindows> windows = std::make_shared<FakeWindows>();
    std::shared_ptr<FakeAlerts> alerts = std::make_shared<FakeAlerts>();
    std::optional<AppDelegate> shell;
};

}  // namespace cobaltreel

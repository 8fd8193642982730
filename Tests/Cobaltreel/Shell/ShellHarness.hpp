#pragma once

#include "Cobaltreel/Shell/AppDelegate.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Fakes/FakeHost.hpp"
#include "Fakes/FakeKeyGrabber.hpp"
#include "Fakes/FakeShellServices.hpp"

#include <memory>
#include <optional>

namespace cobaltreel {

/// The shell among fakes, in virtual time.
class ShellTest : public TemporaryHome, public FakeHost {
  protected:
    ~ShellTest() override {
        shell.reset();
        time->drain();
    }

    AppDelegate& launch() {
        const RecordingServices recording = recordingServices();
        platform::PlatformServices host;
        static_cast<platform::RecordingHost&>(host) = recording;
        host.keys = keys;
        host.screenAccess = screenAccess;
        host.systemSettings = std::make_shared<platform::FakeSystemSettings>();
        host.relauncher = std::make_shared<platform::FakeRelauncher>();
        host.statusItems = tray;
        host.notifications = notifications;
        shell.emplace(host, recording);
        shell->applicationDidFinishLaunching();
        return *shell;
    }
    void record() {
        ASSERT_TRUE(eventually([&] { return shell->coordinator().selectedDisplayID().has_value(); }));
        shell->coordinator().toggle();
        ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
        countdown->complete();
        ASSERT_TRUE(stateBecomes(RecordingCoordinator::State::recording));
    }
    bool stateBecomes(RecordingCoordinator::State state) {
        return eventually([&] { return shell->coordinator().state() == state; });
    }

    std::shared_ptr<platform::FakeKeyGrabber> keys = std::make_shared<platform::FakeKeyGrabber>();
    std::shared_ptr<platform::FakeScreenAccess> screenAccess = std::make_shared<platform::FakeScreenAccess>();
    std::shared_ptr<platform::FakeStatusItems> tray = std::make_shared<platform::FakeStatusItems>();
    std::shared_ptr<platform::FakeNotifications> notifications =
        std::make_shared<platform::FakeNotifications>();
    std::optional<AppDelegate> shell;
};

}  // namespace cobaltreel

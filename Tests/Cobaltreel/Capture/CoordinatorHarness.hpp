#pragma once

#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Fakes/FakeAlerts.hpp"
#include "Fakes/FakeCapture.hpp"
#include "Fakes/FakeDesktop.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Fakes/FakeSurroundings.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/Eventually.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cobaltreel {

/// A coordinator among fakes: two displays, two windows, a camera and two microphones; the wall clock goes
/// with the virtual time.
class CoordinatorTest : public TemporaryHome {
  protected:
    using State = RecordingCoordinator::State;

    CoordinatorTest() {
        L::current = Language::en;
        platform::Display main, other;
        main.displayID = 11;
        main.frame = {0, 0, 1512, 982};
        other.displayID = 22;
        other.frame = {1512, 0, 1920, 1080};
        screenCapture->content.displays = {main, other};
        screenCapture->content.windows = {window(101, {10, 20, 641, 481}), window(102, {0, 0, 900, 700})};
        screenCapture->content.applications = {{bundleIdentifier, "Cobaltreel", 1}};
        desktop->screenList = {{11, {0, 0, 1512, 982}, 2}, {22, {1512, -98, 1920, 1080}, 1}};
        capture->fakeDevices = {{camera}, {mic, otherMic}, otherMic};
        media->writing.createsFile = true;
        makeCoordinator();
    }
    ~CoordinatorTest() override {
        coordinator.reset();
        time->drain();
    }

    void makeCoordinator() {
        RecordingServices services;
        services.clock = time;
        services.mainLoop = time;
        services.media = media;
        services.capture = capture;
        services.screenCapture = screenCapture;
        services.deviceAccess = access;
        services.desktop = desktop;
        services.defaults = defaults;
        services.bubble = bubble;
        services.countdown = countdown;
        services.windows = windows;
        services.alerts = alerts;
        services.freeBytes = [this](const std::filesystem::path&) { return freeBytes; };
        services.now = [this] {
            using std::chrono::system_clock;
            return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(
                std::chrono::duration<double>(1.7e9 + wallClockShift + time->now())));
        };
        coordinator = std::make_unique<RecordingCoordinator>(std::move(services));
    }

    static platform::Window window(std::uint32_t id, platform::Rect frame,
                                   const std::string& application = "org.example.editor") {
        return {id, "Window " + std::to_string(id), frame, true,
                platform::RunningApplication{application, "Editor", 7}};
    }

    template <typename Condition>
    bool eventually(Condition condition) {
        return platform::eventually(*time, condition);
    }
    bool reaches(State state) {
        return eventually([&] { return coordinator->state() == state; });
    }
    /// Runs a task to its end.
    template <typename Task>
    void await(Task task) {
        bool done = false;
        const auto follow = [&]() -> QCoro::Task<void> {
            co_await task;
            done = true;
        };
        const auto following = follow();
        ASSERT_TRUE(eventually([&] { return done; })) << "the operation does not end";
    }

    void choose() {
        await(coordinator->refreshContent());
        coordinator->refreshDevices();
    }
    void press() {
        coordinator->toggle();
        ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
    }
    void record() {
        if (!coordinator->selectedDisplayID()) choose();
        press();
        countdown->complete();
        ASSERT_TRUE(reaches(State::recording));
    }
    void stop() {
        coordinator->toggle();
        ASSERT_TRUE(reaches(State::idle));
    }

    platform::FakeSession& devices() { return *capture->sessions.back(); }
    platform::FakeStream& stream() { return *screenCapture->streams.back(); }
    /// The session folders on disk.
    static std::vector<std::filesystem::path> folders() {
        std::vector<std::filesystem::path> found;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(Paths::sessionsRoot(), ignored))
            found.push_back(entry.path());
        return found;
    }
    /// Whether a recording holds the folder, so that no other process clears it away.
    static bool isHeld(const std::filesystem::path& folder) {
        auto why = platform::HeldFile::Refusal::failed;
        return !platform::HeldFile::tryHold(SessionFolder{folder}.journalFile(), why) &&
               why == platform::HeldFile::Refusal::heldByAnother;
    }
    std::vector<QString> messages() const {
        std::vector<QString> texts;
        for (const auto& alert : alerts->alerts) texts.push_back(alert.message);
        return texts;
    }

    const platform::CaptureDevice camera{"cam", "Camera", platform::MediaType::video};
    const platform::CaptureDevice mic{"mic", "Microphone", platform::MediaType::audio};
    const platform::CaptureDevice otherMic{"mic2", "Headset", platform::MediaType::audio};

    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeMedia> media = std::make_shared<platform::FakeMedia>();
    std::shared_ptr<platform::FakeCaptureService> capture = std::make_shared<platform::FakeCaptureService>();
    std::shared_ptr<platform::FakeScreenCapture> screenCapture =
        std::make_shared<platform::FakeScreenCapture>();
    std::shared_ptr<platform::FakeDeviceAccess> access = std::make_shared<platform::FakeDeviceAccess>();
    std::shared_ptr<platform::FakeDesktop> desktop = std::make_shared<platform::FakeDesktop>();
    std::shared_ptr<platform::InMemoryUserDefaults> defaults =
        std::make_shared<platform::InMemoryUserDefaults>();
    std::shared_ptr<FakeBubble> bubble = std::make_shared<FakeBubble>();
    std::shared_ptr<FakeCountdown> countdown = std::make_shared<FakeCountdown>();
    std::shared_ptr<FakeWindows> windows = std::make_shared<FakeWindows>();
    std::shared_ptr<FakeAlerts> alerts = std::make_shared<FakeAlerts>();
    std::int64_t freeBytes = 100'000'000'000;
    double wallClockShift = 0;  // seconds
    std::unique_ptr<RecordingCoordinator> coordinator;
};

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Capture/RecordingServices.hpp"
#include "Fakes/Await.hpp"
#include "Fakes/FakeAlerts.hpp"
#include "Fakes/FakeCapture.hpp"
#include "Fakes/FakeDesktop.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Fakes/FakeSurroundings.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

namespace cobaltreel {

/// Everything that a recording works with, faked: two displays, a camera, two microphones. The wall clock
/// goes with the virtual time.
struct FakeHost {
    FakeHost() {
        platform::Display main, other;
        main.displayID = 11;
        main.frame = {0, 0, 1512, 982};
        other.displayID = 22;
        other.frame = {1512, 0, 1920, 1080};
        screenCapture->content.displays = {main, other};
        desktop->screenList = {{11, {0, 0, 1512, 982}, 2}, {22, {1512, -98, 1920, 1080}, 1}};
        capture->fakeDevices = {{camera}, {mic, otherMic}, otherMic};
        media->writing.createsFile = true;
    }

    RecordingServices recordingServices() const {
        RecordingServices services(
            platform::RecordingHost{time, time, media, capture, screenCapture, access, desktop});
        services.defaults = defaults;
        services.bubble = bubble;
        services.countdown = countdown;
        services.windows = windows;
        services.alerts = alerts;
        services.freeBytes = [this](const std::filesystem::path&) { return freeBytes.load(); };
        services.now = [this] {
            using std::chrono::system_clock;
            return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(
                std::chrono::duration<double>(1.7e9 + time->now())));
        };
        return services;
    }

    template <typename Condition>
    bool eventually(Condition condition) {
        return time->eventually(condition);
    }
    template <typename Task>
    void await(Task task) {
        cobaltreel::await(std::move(task), [this](auto condition) { return eventually(condition); });
    }

    platform::CaptureDevice camera{"cam", "Camera", platform::MediaType::video};
    platform::CaptureDevice mic{"mic", "Microphone", platform::MediaType::audio};
    platform::CaptureDevice otherMic{"mic2", "Headset", platform::MediaType::audio};

    const std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    const std::shared_ptr<platform::FakeMedia> media = std::make_shared<platform::FakeMedia>();
    const std::shared_ptr<platform::FakeCaptureService> capture =
        std::make_shared<platform::FakeCaptureService>();
    const std::shared_ptr<platform::FakeScreenCapture> screenCapture =
        std::make_shared<platform::FakeScreenCapture>();
    const std::shared_ptr<platform::FakeDeviceAccess> access = std::make_shared<platform::FakeDeviceAccess>();
    const std::shared_ptr<platform::FakeDesktop> desktop = std::make_shared<platform::FakeDesktop>();
    const std::shared_ptr<platform::InMemoryUserDefaults> defaults =
        std::make_shared<platform::InMemoryUserDefaults>();
    const std::shared_ptr<FakeBubble> bubble = std::make_shared<FakeBubble>();
    const std::shared_ptr<FakeCountdown> countdown = std::make_shared<FakeCountdown>();
    const std::shared_ptr<FakeWindows> windows = std::make_shared<FakeWindows>();
    const std::shared_ptr<FakeAlerts> alerts = std::make_shared<FakeAlerts>();
    std::atomic<std::int64_t> freeBytes = 100'000'000'000;  // read on the queue for files
};

}  // namespace cobaltreel

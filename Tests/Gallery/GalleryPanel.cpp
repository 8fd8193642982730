#include "Gallery/GalleryPanel.hpp"

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Fakes/FakeAlerts.hpp"
#include "Fakes/FakeCapture.hpp"
#include "Fakes/FakeDesktop.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Fakes/FakeSurroundings.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace cobaltreel {

struct GalleryPanel::Parts {
    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeCaptureService> capture = std::make_shared<platform::FakeCaptureService>();
    std::unique_ptr<RecordingCoordinator> coordinator;
    std::unique_ptr<PopoverModel> model;

    template <typename Condition>
    void waitUntil(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("the panel's model does not settle");
            time->drain();
            std::this_thread::yield();
        }
    }
};

GalleryPanel::GalleryPanel() : parts_(std::make_unique<Parts>()) {
    using platform::MediaType;
    platform::Display main, other;
    main.displayID = 1;
    main.frame = {0, 0, 1512, 982};
    other.displayID = 2;
    other.frame = {1512, 0, 1920, 1080};
    const auto screenCapture = std::make_shared<platform::FakeScreenCapture>();
    screenCapture->content.displays = {main, other};
    const platform::CaptureDevice mic{"mic", "Studio Microphone", MediaType::audio};
    parts_->capture->fakeDevices = {{{"camera", "HD Webcam C920", MediaType::video}}, {mic}, mic};

    RecordingServices services;
    services.clock = parts_->time;
    services.mainLoop = parts_->time;
    services.media = std::make_shared<platform::FakeMedia>();
    services.capture = parts_->capture;
    services.screenCapture = screenCapture;
    services.deviceAccess = std::make_shared<platform::FakeDeviceAccess>();
    services.desktop = std::make_shared<platform::FakeDesktop>();
    services.defaults = std::make_shared<platform::InMemoryUserDefaults>();
    services.bubble = std::make_shared<FakeBubble>();
    services.countdown = std::make_shared<FakeCountdown>();
    services.windows = std::make_shared<FakeWindows>();
    services.alerts = std::make_shared<FakeAlerts>();
    parts_->coordinator = std::make_unique<RecordingCoordinator>(std::move(services));
    parts_->model = std::make_unique<PopoverModel>(*parts_->coordinator, parts_->time, parts_->time);

    parts_->coordinator->setSystemAudioEnabled(true);
    parts_->model->appear();
    auto& sessions = parts_->capture->sessions;
    parts_->waitUntil([&] { return !sessions.empty() && sessions.back()->isRunning(); });
    sessions.back()->deliverSound(parts_->time->now(), 0.05F);
    parts_->time->advance(0.06);
}

GalleryPanel::~GalleryPanel() {
    parts_->model.reset();
    parts_->coordinator.reset();
    parts_->time->drain();
}

PopoverModel& GalleryPanel::model() { return *parts_->model; }

}  // namespace cobaltreel

#include "Cobaltreel/UI/Gallery/GalleryPanel.hpp"

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Capture/ScriptedSurroundings.hpp"
#include "Cobaltreel/Support/ScriptedAlerts.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Platform/Capture/ScriptedCapture.hpp"
#include "Platform/Capture/ScriptedDeviceAccess.hpp"
#include "Platform/Capture/ScriptedScreenCapture.hpp"
#include "Platform/Desktop/ScriptedDesktop.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Foundation/VirtualTime.hpp"
#include "Platform/Media/ScriptedMedia.hpp"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace cobaltreel {

struct GalleryPanel::Parts {
    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::ScriptedCaptureService> capture =
        std::make_shared<platform::ScriptedCaptureService>();
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
    const auto screenCapture = std::make_shared<platform::ScriptedScreenCapture>();
    screenCapture->content.displays = {main, other};
    const platform::CaptureDevice mic{"mic", "Studio Microphone", MediaType::audio};
    parts_->capture->scriptedDevices = {{{"camera", "HD Webcam C920", MediaType::video}}, {mic}, mic};

    RecordingServices services;
    services.clock = parts_->time;
    services.mainLoop = parts_->time;
    services.media = std::make_shared<platform::ScriptedMedia>();
    services.capture = parts_->capture;
    services.screenCapture = screenCapture;
    services.deviceAccess = std::make_shared<platform::ScriptedDeviceAccess>();
    services.desktop = std::make_shared<platform::ScriptedDesktop>();
    services.defaults = std::make_shared<platform::InMemoryUserDefaults>();
    services.bubble = std::make_shared<ScriptedBubble>();
    services.countdown = std::make_shared<ScriptedCountdown>();
    services.windows = std::make_shared<ScriptedWindows>();
    services.alerts = std::make_shared<ScriptedAlerts>();
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

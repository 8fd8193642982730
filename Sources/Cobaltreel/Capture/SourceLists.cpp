#include "Cobaltreel/Capture/SourceLists.hpp"

#include "Cobaltreel/Support/ApplicationIdentity.hpp"

#include <exception>
#include <optional>
#include <utility>

namespace cobaltreel {

SourceLists::SourceLists(std::shared_ptr<RecordingEngine> engine, RecordingChoices& choices)
    : engine_(std::move(engine)), choices_(choices) {
    const auto refresh = lifetime_.guard([this] { devicesChanged(); });
    engine_->services.capture->setDevicesChangedHandler(
        [refresh, loop = engine_->services.mainLoop] { loop->post(refresh); });
}

SourceLists::~SourceLists() { engine_->services.capture->setDevicesChangedHandler({}); }

QCoro::Task<void> SourceLists::refreshContent() {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    std::optional<platform::ShareableContent> content;
    bool serverMissing = false;
    co_await engine->offMainThread([&] {
        // The first question to the media server may wait for it: here, not on the main thread.
        engine->services.capture->devices();
        serverMissing = engine->services.capture->unavailable().has_value();
        try {
            content = engine->services.screenCapture->shareableContent();
        } catch (const std::exception&) {
            // A screen that cannot be listed says nothing about the devices; a start reports it.
        }
    });
    if (!alive) co_return;
    devicesKnown_ = true;
    mediaServerMissing_ = serverMissing;
    if (content) choices_.offer(*content, bundleIdentifier);
}

QCoro::Task<void> SourceLists::devicesChanged() {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    platform::CaptureDevices devices;
    bool serverMissing = false;
    // A media server that has just come back may not have told all yet.
    co_await engine->offMainThread([&] {
        devices = engine->services.capture->devices();
        serverMissing = engine->services.capture->unavailable().has_value();
    });
    if (!alive) co_return;
    mediaServerMissing_ = serverMissing;
    choices_.offer(devices);
}

void SourceLists::refreshDevices() { choices_.offer(engine_->services.capture->devices()); }

}  // namespace cobaltreel

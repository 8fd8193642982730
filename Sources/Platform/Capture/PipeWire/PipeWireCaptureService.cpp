#include "Platform/Capture/PipeWire/PipeWireCaptureService.hpp"

#include "Platform/Capture/PipeWire/PipeWireCaptureSession.hpp"
#include "Platform/Capture/PipeWire/PipeWireConnection.hpp"
#include "Platform/Capture/PipeWire/PipeWireSystemAudio.hpp"

#include <utility>

namespace platform {

using pipewire::LoopLock;

namespace {

constexpr double longestWaitForServer = 0.5;  // seconds

CaptureDevices devicesIn(const pipewire::Graph& graph) {
    CaptureDevices devices;
    for (const auto& [id, node] : graph.nodes) {
        if (node.name.empty()) continue;
        if (isCamera(node)) devices.cameras.push_back({node.name, node.description, MediaType::video});
        if (isMicrophone(node))
            devices.microphones.push_back({node.name, node.description, MediaType::audio});
    }
    for (const auto& microphone : devices.microphones)
        if (microphone.uniqueID == graph.defaultSource) devices.defaultMicrophone = microphone;
    return devices;
}

}  // namespace

/// Tells the service's owner of changed devices. Everything with the loop's lock held.
class PipeWireCaptureService::DeviceWatch final : public pipewire::GraphListener {
  public:
    explicit DeviceWatch(pipewire::PipeWireConnection& connection) : connection_(connection) {}

    std::function<void()> changed;

  private:
    void graphChanged() override {
        CaptureDevices now = devicesIn(connection_.graph());
        if (now == known_) return;
        known_ = std::move(now);
        if (changed) changed();
    }
    void disconnected() override {}

    pipewire::PipeWireConnection& connection_;
    CaptureDevices known_;
};

PipeWireCaptureService::PipeWireCaptureService()
    : connection_(std::make_shared<pipewire::PipeWireConnection>()),
      watch_(std::make_unique<DeviceWatch>(*connection_)) {
    const LoopLock lock(connection_->threadLoop());
    connection_->addListener(*watch_);
}

PipeWireCaptureService::~PipeWireCaptureService() {
    const LoopLock lock(connection_->threadLoop());
    connection_->removeListener(*watch_);
}

CaptureDevices PipeWireCaptureService::devices() {
    connection_->waitForGraph(longestWaitForServer);
    const LoopLock lock(connection_->threadLoop());
    return devicesIn(connection_->graph());
}

void PipeWireCaptureService::setDevicesChangedHandler(std::function<void()> changed) {
    const LoopLock lock(connection_->threadLoop());
    watch_->changed = std::move(changed);
}

std::unique_ptr<CaptureSession> PipeWireCaptureService::makeSession() {
    return std::make_unique<pipewire::PipeWireCaptureSession>(connection_);
}

std::optional<PlatformError> PipeWireCaptureService::unavailable() {
    connection_->waitForGraph(longestWaitForServer);
    return connection_->unavailable();
}

std::unique_ptr<SystemAudioSource> PipeWireCaptureService::makeSystemAudio() {
    return std::make_unique<pipewire::PipeWireSystemAudio>(connection_);
}

LibraryVersion pipeWireVersion() { return {"PipeWire", pw_get_library_version()}; }

}  // namespace platform

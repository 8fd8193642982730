#include "Platform/Capture/PipeWire/PipeWireCaptureSession.hpp"

#include <cerrno>
#include <utility>

namespace platform::pipewire {

namespace {

constexpr std::size_t picturesWaiting = 12;
constexpr int attemptsUntilReported = 3;

std::size_t indexOf(MediaType type) { return type == MediaType::video ? 0 : 1; }

std::string quoted(const CaptureDevice& device) { return "\"" + device.name + "\""; }

}  // namespace

PipeWireCaptureSession::PipeWireCaptureSession(std::shared_ptr<PipeWireConnection> connection)
    : connection_(std::move(connection)) {
    const LoopLock lock(connection_->threadLoop());
    retry_ = std::make_unique<LoopEvent>(connection_->loop(), [this] {
        if (camera_.hasFailed) cameraStream_.reset();
        if (microphone_.hasFailed) microphoneStream_.reset();
        camera_.hasFailed = microphone_.hasFailed = false;
        reconcile();
    });
    connection_->addListener(*this);
}

PipeWireCaptureSession::~PipeWireCaptureSession() {
    stopRunning();
    const LoopLock lock(connection_->threadLoop());
    connection_->removeListener(*this);
    retry_.reset();
}

void PipeWireCaptureSession::beginConfiguration() {
    const LoopLock lock(connection_->threadLoop());
    pending_ = current_;
}

void PipeWireCaptureSession::commitConfiguration() {
    Gates closing;  // destroyed without the lock: closing waits for the handler
    const LoopLock lock(connection_->threadLoop());
    const bool sameSize =
        pending_.preset.width == current_.preset.width && pending_.preset.height == current_.preset.height;
    const bool sameChannels = pending_.preset.microphoneChannels == current_.preset.microphoneChannels;
    const auto use = [](Input& input, const std::optional<CaptureDevice>& device, auto& stream,
                        bool sameForm) {
        if (input.device == device && sameForm) return;
        stream.reset();
        input = {};
        input.device = device;
    };
    use(camera_, pending_.camera, cameraStream_, sameSize);
    use(microphone_, pending_.microphone, microphoneStream_, sameChannels);
    current_ = pending_;
    closing = std::exchange(gates_, makeGates());
    reconcile();
}

void PipeWireCaptureSession::removeAllInputs() {
    pending_.camera.reset();
    pending_.microphone.reset();
}

void PipeWireCaptureSession::removeAllOutputs() { pending_.outputs = {}; }

void PipeWireCaptureSession::setPreset(const Preset& preset) { pending_.preset = preset; }

void PipeWireCaptureSession::addInput(const CaptureDevice& device) {
    auto& place = device.type == MediaType::video ? pending_.camera : pending_.microphone;
    if (place) throw PlatformError("Capture", 1, "The session has an input of this type already.");
    const LoopLock lock(connection_->threadLoop());
    if (const auto error = connection_->unavailable()) throw *error;
    if (connection_->graph().nodeNamed(device.uniqueID) == nullptr)
        throw PlatformError("PipeWire", ENODEV,
                            quoted(device) + " is not there. Plug it in, or choose another one.");
    place = device;
}

void PipeWireCaptureSession::addOutput(MediaType type, SerialQueue& queue, SampleHandler handler) {
    Output& output = pending_.outputs[indexOf(type)];
    if (output.queue != nullptr)
        throw PlatformError("Capture", 2, "The session has an output of this type already.");
    output = {&queue, std::move(handler)};
}

void PipeWireCaptureSession::setVideoMirrored(bool mirrored) { pending_.mirrored = mirrored; }

std::vector<CaptureDevice> PipeWireCaptureSession::inputs() const {
    const LoopLock lock(connection_->threadLoop());
    std::vector<CaptureDevice> devices;
    if (current_.microphone) devices.push_back(*current_.microphone);
    if (current_.camera) devices.push_back(*current_.camera);
    return devices;
}

bool PipeWireCaptureSession::isRunning() const {
    const LoopLock lock(connection_->threadLoop());
    return running_;
}

void PipeWireCaptureSession::startRunning() {
    const LoopLock lock(connection_->threadLoop());
    if (running_) return;
    running_ = true;
    gates_ = makeGates();
    reconcile();
}

void PipeWireCaptureSession::stopRunning() {
    Gates closing;
    const LoopLock lock(connection_->threadLoop());
    running_ = false;
    cameraStream_.reset();
    microphoneStream_.reset();
    // What comes and goes while nothing runs is nobody's loss.
    for (Input* input : {&camera_, &microphone_}) *input = {.device = input->device};
    closing = std::exchange(gates_, {});
}

void PipeWireCaptureSession::setEventHandler(std::function<void(const CaptureEvent&)> handler) {
    const LoopLock lock(connection_->threadLoop());
    onEvent_ = std::move(handler);
}

PipeWireCaptureSession::Gates PipeWireCaptureSession::makeGates() const {
    Gates gates;
    const auto make = [&](MediaType type, std::size_t limit) -> std::unique_ptr<SampleGate<SampleBuffer>> {
        const Output& output = current_.outputs[indexOf(type)];
        if (!running_ || output.queue == nullptr) return nullptr;
        return std::make_unique<SampleGate<SampleBuffer>>(*output.queue, output.handler, limit);
    };
    gates.video = make(MediaType::video, picturesWaiting);
    gates.audio = make(MediaType::audio, AudioCaptureStream::samplesWaiting);
    return gates;
}

void PipeWireCaptureSession::graphChanged() { reconcile(); }

void PipeWireCaptureSession::disconnected() {
    cameraStream_.reset();
    microphoneStream_.reset();
    for (Input* input : {&camera_, &microphone_}) {
        if (!input->device || input->isLost || !running_) continue;
        input->isLost = true;
        notify(CaptureEvent::Kind::lost, *input->device,
               quoted(*input->device) +
                   " is lost, because the media server ended. It is used again when the server is back.");
    }
}

void PipeWireCaptureSession::reconcile() {
    if (!running_) return;
    reconcileCamera();
    reconcileMicrophone();
}

const Node* PipeWireCaptureSession::presentNode(Input& input) {
    const Node* node =
        connection_->isConnected() ? connection_->graph().nodeNamed(input.device->uniqueID) : nullptr;
    if (node != nullptr && !node->detailsKnown) return nullptr;  // its formats are on the way
    const bool isGone = node == nullptr || (input.node != 0 && input.node != node->serial);
    if (isGone && !input.isLost) {
        input.isLost = true;
        notify(CaptureEvent::Kind::lost, *input.device,
               quoted(*input.device) + " was unplugged. It is used again when it is back.");
    }
    if (node == nullptr) return nullptr;
    if (input.isLost) {
        input.isLost = input.hasFailed = false;
        input.attempts = 0;
        notify(CaptureEvent::Kind::returned, *input.device, quoted(*input.device) + " is back.");
    }
    return node;
}

void PipeWireCaptureSession::reconcileCamera() {
    if (!camera_.device) return;
    const Node* node = presentNode(camera_);
    if (node == nullptr || node->serial != camera_.node || camera_.hasFailed) cameraStream_.reset();
    if (cameraStream_) cameraStream_->setMirrored(current_.mirrored);
    if (node == nullptr || cameraStream_ || camera_.hasFailed) return;
    camera_.node = node->serial;
    try {
        CameraStream::Setup setup;
        setup.name = "Cobaltreel camera";
        setup.target = node->name;
        setup.width = current_.preset.width;
        setup.height = current_.preset.height;
        cameraStream_ = std::make_unique<CameraStream>(
            *connection_, setup, node->formats,
            CameraStream::Handlers{
                [this](SampleBuffer sample) {
                    streamDelivered(camera_);
                    if (gates_.video) gates_.video->pass(std::move(sample));
                },
                [this](const std::string& reason) { streamFailed(camera_, reason); },
                [this] {
                    notify(
                        CaptureEvent::Kind::unreadable, *camera_.device,
                        quoted(*camera_.device) +
                            " sends pictures that cannot be read. Plug it in again, or choose another one.");
                }});
        cameraStream_->setMirrored(current_.mirrored);
    } catch (const PlatformError& error) {
        streamFailed(camera_, error.description());
    }
}

void PipeWireCaptureSession::reconcileMicrophone() {
    if (!microphone_.device) return;
    const Node* node = presentNode(microphone_);
    if (node == nullptr || node->serial != microphone_.node || microphone_.hasFailed)
        microphoneStream_.reset();
    if (node == nullptr || microphoneStream_ || microphone_.hasFailed) return;
    microphone_.node = node->serial;
    try {
        AudioCaptureStream::Setup setup;
        setup.name = "Cobaltreel microphone";
        setup.target = node->name;
        setup.channels = current_.preset.microphoneChannels;
        microphoneStream_ = std::make_unique<AudioCaptureStream>(
            *connection_, setup,
            [this](SampleBuffer sample) {
                streamDelivered(microphone_);
                if (gates_.audio) gates_.audio->pass(std::move(sample));
            },
            [this](const std::string& reason) { streamFailed(microphone_, reason); });
    } catch (const PlatformError& error) {
        streamFailed(microphone_, error.description());
    }
}

void PipeWireCaptureSession::streamFailed(Input& input, const std::string& reason) {
    // Often the first sign that the device is about to disappear, so it is reported only when it stays.
    input.hasFailed = true;
    if (++input.attempts == attemptsUntilReported)
        notify(CaptureEvent::Kind::failed, *input.device,
               quoted(*input.device) + " cannot be used (" + reason + "). Another program may be using it.");
    retry_->signalAfter(PipeWireConnection::retryInterval);
}

/// A failure after this counts as a new one, and is reported again.
void PipeWireCaptureSession::streamDelivered(Input& input) {
    if (std::exchange(input.attempts, 0) >= attemptsUntilReported)
        notify(CaptureEvent::Kind::returned, *input.device, quoted(*input.device) + " can be used again.");
}

void PipeWireCaptureSession::notify(CaptureEvent::Kind kind, const CaptureDevice& device,
                                    const std::string& message) {
    if (onEvent_) onEvent_({kind, device, message});
}

}  // namespace platform::pipewire

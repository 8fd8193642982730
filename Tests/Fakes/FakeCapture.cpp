#include "Fakes/FakeCapture.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform {

namespace {

std::size_t indexOf(MediaType type) { return type == MediaType::video ? 0 : 1; }

}  // namespace

std::vector<FakeSession::Configuration> FakeSession::commits() const {
    const std::lock_guard lock(mutex_);
    return commits_;
}

bool FakeSession::isRunning() const {
    const std::lock_guard lock(mutex_);
    return running_;
}

bool FakeSession::deliver(const SampleBuffer& sample) {
    const std::lock_guard delivering(delivery_);
    Output output;
    {
        const std::lock_guard lock(mutex_);
        output = outputs_[indexOf(sample.image ? MediaType::video : MediaType::audio)];
        if (!running_ || output.queue == nullptr) return false;
    }
    output.queue->sync([&] { output.handler(sample); });
    return true;
}

bool FakeSession::deliverPicture(double seconds) {
    const auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, 64, 36);
    for (int i = 0; i < picture->planeCount(); ++i) {
        const Plane& plane = picture->plane(i);
        std::memset(plane.data, 0x80,
                    static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(plane.height));
    }
    return deliver({MediaTime::fromSeconds(seconds, nanosecondTimescale), picture, nullptr});
}

bool FakeSession::deliverSound(double seconds, float level, std::size_t frames) {
    auto sound = std::make_shared<AudioBuffer>();
    sound->format = {48000, 1, true};
    sound->bytes.resize(frames * sound->format.bytesPerFrame());
    std::ranges::fill(sound->floats(), level);
    return deliver({MediaTime::fromSeconds(seconds, nanosecondTimescale), nullptr, std::move(sound)});
}

void FakeSession::notify(const CaptureEvent& event) {
    std::function<void(const CaptureEvent&)> handler;
    {
        const std::lock_guard lock(mutex_);
        handler = onEvent_;
    }
    if (handler) handler(event);
}

/// What the owner of the session holds.
class FakeSessionHandle final : public CaptureSession {
  public:
    explicit FakeSessionHandle(std::shared_ptr<FakeSession> session) : session_(std::move(session)) {}
    ~FakeSessionHandle() override {
        stopRunning();
        const std::lock_guard lock(session_->mutex_);
        session_->outputs_ = {};
        session_->onEvent_ = nullptr;
    }

    void beginConfiguration() override { pending_ = session_->current_; }
    void commitConfiguration() override {
        if (session_->onCommit) session_->onCommit();
        const std::lock_guard lock(session_->mutex_);
        session_->current_ = pending_;
        session_->outputs_ = pendingOutputs_;
        session_->commits_.push_back(pending_);
    }
    void removeAllInputs() override { pending_.inputs.clear(); }
    void removeAllOutputs() override { pendingOutputs_ = {}; }
    void setPreset(const Preset&) override {}
    void addInput(const CaptureDevice& device) override {
        const auto refused = session_->inputErrors_.find(device.uniqueID);
        if (refused != session_->inputErrors_.end()) throw PlatformError(refused->second);
        pending_.inputs.push_back(device);
    }
    void addOutput(MediaType type, SerialQueue& queue, SampleHandler handler) override {
        pendingOutputs_[indexOf(type)] = {&queue, std::move(handler)};
    }
    void setVideoMirrored(bool mirrored) override { pending_.mirrored = mirrored; }

    std::vector<CaptureDevice> inputs() const override {
        const std::lock_guard lock(session_->mutex_);
        return session_->current_.inputs;
    }
    bool isRunning() const override { return session_->isRunning(); }
    void startRunning() override {
        const std::lock_guard lock(session_->mutex_);
        session_->running_ = true;
    }
    void stopRunning() override {
        const std::lock_guard delivering(session_->delivery_);
        const std::lock_guard lock(session_->mutex_);
        session_->running_ = false;
    }
    void setEventHandler(std::function<void(const CaptureEvent&)> handler) override {
        const std::lock_guard lock(session_->mutex_);
        session_->onEvent_ = std::move(handler);
    }

  private:
    std::shared_ptr<FakeSession> session_;
    FakeSession::Configuration pending_;
    std::array<FakeSession::Output, 2> pendingOutputs_;
};

std::unique_ptr<CaptureSession> FakeCaptureService::makeSession() {
    auto session = std::make_shared<FakeSession>();
    session->inputErrors_ = inputErrors;
    sessions.push_back(session);
    return std::make_unique<FakeSessionHandle>(std::move(session));
}

void FakeCaptureService::changeDevices(CaptureDevices devices, std::optional<PlatformError> unavailable) {
    {
        const std::lock_guard lock(mutex_);
        fakeDevices = std::move(devices);
        unavailableError = std::move(unavailable);
    }
    if (changed_) changed_();
}

}  // namespace platform

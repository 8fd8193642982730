#pragma once

#include "Platform/Capture/CaptureSession.hpp"

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A fake session as its test sees it. Stays valid after the owner of the session has let go of it.
/// Safe on any thread, but not inside a sample handler.
class FakeSession {
  public:
    /// What one configuration transaction left behind.
    struct Configuration {
        std::vector<CaptureDevice> inputs;
        bool mirrored = false;
    };

    /// Called in each commit before it takes effect: a test holds the owner's queue up here.
    std::function<void()> onCommit;

    /// Every transaction committed so far.
    std::vector<Configuration> commits() const;
    bool isRunning() const;

    /// Hands a sample to its handler on the handler's queue and waits until it has been handled. False, and
    /// nothing happens, when the session does not run or nobody listens to this type.
    bool deliver(const SampleBuffer& sample);
    /// Delivers a gray picture at `seconds` of the host clock.
    bool deliverPicture(double seconds);
    /// Delivers `frames` frames of sound, every sample of it `level`.
    bool deliverSound(double seconds, float level = 0, std::size_t frames = 480);
    void notify(const CaptureEvent& event);

  private:
    friend class FakeCaptureService;
    friend class FakeSessionHandle;
    struct Output {
        SerialQueue* queue = nullptr;
        CaptureSession::SampleHandler handler;
    };

    mutable std::mutex mutex_;
    std::mutex delivery_;  // held while a handler runs, so that stopping can wait for it
    std::vector<Configuration> commits_;
    Configuration current_;
    bool running_ = false;
    std::array<Output, 2> outputs_;
    std::function<void(const CaptureEvent&)> onEvent_;
    std::map<std::string, PlatformError> inputErrors_;
};

/// A capture service whose devices, sessions and failures are scripted by a test.
class FakeCaptureService final : public CaptureService {
  public:
    // The script.
    CaptureDevices fakeDevices;
    std::map<std::string, PlatformError> inputErrors;  ///< by identifier: what adding the input fails with
    std::optional<PlatformError> unavailableError;

    /// Every session made so far, the newest last.
    std::vector<std::shared_ptr<FakeSession>> sessions;

    CaptureDevices devices() override {
        const std::lock_guard lock(mutex_);
        return fakeDevices;
    }
    void setDevicesChangedHandler(std::function<void()> changed) override { changed_ = std::move(changed); }
    std::unique_ptr<CaptureSession> makeSession() override;
    std::optional<PlatformError> unavailable() override {
        const std::lock_guard lock(mutex_);
        return unavailableError;
    }
    std::string implementation() const override { return "fake"; }

    /// Replaces the devices and tells the handler. The script may change like this while another thread asks.
    void changeDevices(CaptureDevices devices, std::optional<PlatformError> unavailable = {});

  private:
    std::mutex mutex_;
    std::function<void()> changed_;
};

}  // namespace platform

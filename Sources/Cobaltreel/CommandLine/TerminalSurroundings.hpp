#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Cobaltreel/Support/Alerts.hpp"
#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/DeviceAccess.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace cobaltreel {

// What surrounds a recording that a terminal drives: no windows, and nobody to ask.

/// Keeps alerts for the command to print when it ends.
class TerminalAlerts final : public AlertPresenter {
  public:
    void present(const Alert& alert, std::function<void(int)> answered) override;
    /// What the first alert said, in the words that say most; absent when there was none.
    const std::optional<std::string>& text() const { return text_; }

  private:
    std::optional<std::string> text_;
};

/// Who names devices on the command line consents to their use.
class ConsentByCommand final : public platform::DeviceAccess {
  public:
    platform::AuthorizationStatus authorizationStatus(platform::MediaType) override {
        return platform::AuthorizationStatus::authorized;
    }
    void requestAccess(platform::MediaType, std::function<void(bool)> answered) override { answered(true); }
};

class NoBubble final : public CameraBubble {
  public:
    void show(CameraCorner, double, CameraStyle) override {}
    void update(CameraCorner, double) override {}
    void hide() override {}
    FrameHandler frameHandler() override { return {}; }
};

class NoWindows final : public RecordingWindows {
  public:
    void openPreview(const SessionFolder&, const SessionMeta&, std::vector<DeviceAbsence>,
                     std::function<void(bool)>) override {}
    bool isExporting() const override { return false; }
    void endPreviews(double, std::function<void()> ended) override { ended(); }
    void openSettings() override {}
};

/// Begins at once.
class NoCountdown final : public RecordingCountdown {
  public:
    explicit NoCountdown(std::shared_ptr<platform::MainLoop> mainLoop) : mainLoop_(std::move(mainLoop)) {}
    void run(std::function<void()> onCancel, std::function<void()> onDone) override;
    void finish() override { finished_.reset(); }

  private:
    std::shared_ptr<platform::MainLoop> mainLoop_;
    std::unique_ptr<platform::Timer> finished_;
};

/// The host's capture service for a user who has chosen: there are no other devices than these.
class ChosenDevices final : public platform::CaptureService {
  public:
    ChosenDevices(std::shared_ptr<platform::CaptureService> host,
                  std::optional<platform::CaptureDevice> camera,
                  std::optional<platform::CaptureDevice> microphone);

    platform::CaptureDevices devices() override { return devices_; }
    void setDevicesChangedHandler(std::function<void()>) override {}
    std::unique_ptr<platform::CaptureSession> makeSession() override { return host_->makeSession(); }
    std::optional<platform::PlatformError> unavailable() override { return host_->unavailable(); }
    std::string implementation() const override { return host_->implementation(); }

  private:
    std::shared_ptr<platform::CaptureService> host_;
    platform::CaptureDevices devices_;
};

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"

#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace cobaltreel {

/// A bubble that remembers what was asked of it.
class FakeBubble final : public CameraBubble {
  public:
    bool isShown = false;
    CameraCorner corner = CameraCorner::bottomLeft;
    double diameter = 0;
    CameraStyle style = CameraStyle::bubble;
    int shows = 0;

    /// Pictures that any handler of this bubble was given.
    int frames() const { return *frames_; }

    void show(CameraCorner atCorner, double withDiameter, CameraStyle inStyle) override {
        isShown = true;
        ++shows;
        corner = atCorner;
        diameter = withDiameter;
        style = inStyle;
    }
    void update(CameraCorner atCorner, double withDiameter) override {
        if (!isShown) return;
        corner = atCorner;
        diameter = withDiameter;
    }
    void hide() override { isShown = false; }
    FrameHandler frameHandler() override {
        return [frames = frames_](const platform::ConstPixelBufferRef&) { ++*frames; };
    }

  private:
    std::shared_ptr<std::atomic<int>> frames_ = std::make_shared<std::atomic<int>>(0);
};

/// A countdown that ends when a test says so.
class FakeCountdown final : public RecordingCountdown {
  public:
    int runs = 0;

    void run(std::function<void()> onCancel, std::function<void()> onDone) override {
        ++runs;
        onCancel_ = std::move(onCancel);
        onDone_ = std::move(onDone);
    }
    void finish() override { onCancel_ = onDone_ = nullptr; }

    bool isRunning() const { return onDone_ != nullptr; }
    void cancel() { end(onCancel_); }
    void complete() { end(onDone_); }

  private:
    void end(std::function<void()> callback) {
        finish();
        if (callback) callback();
    }

    std::function<void()> onCancel_;
    std::function<void()> onDone_;
};

/// Windows that open nowhere.
class FakeWindows final : public RecordingWindows {
  public:
    struct Preview {
        SessionFolder folder;
        SessionMeta meta;
        std::vector<DeviceAbsence> absences;
        std::function<void(bool hasExported)> close;
    };
    std::vector<Preview> previews;
    int settingsOpened = 0;

    void openPreview(const SessionFolder& folder, const SessionMeta& meta,
                     std::vector<DeviceAbsence> absences, std::function<void(bool)> closed) override {
        previews.push_back({folder, meta, std::move(absences), std::move(closed)});
    }
    bool exporting = false;
    std::vector<double> patience;  ///< of each request to end
    /// Previews end without an export.
    void endPreviews(double seconds, std::function<void()> ended) override {
        patience.push_back(seconds);
        for (auto& preview : std::exchange(previews, {})) preview.close(false);
        ended();
    }
    bool isExporting() const override { return exporting; }
    void openSettings() override { ++settingsOpened; }
};

}  // namespace cobaltreel

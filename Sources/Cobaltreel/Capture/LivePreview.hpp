#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/RecordingEngine.hpp"

#include <memory>

namespace cobaltreel {

/// The chosen devices while they run, and the camera's picture floating on the screen. Main thread.
class LivePreview {
  public:
    /// `choices` outlives the preview.
    LivePreview(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices);
    ~LivePreview();
    LivePreview(const LivePreview&) = delete;
    LivePreview& operator=(const LivePreview&) = delete;

    /// Runs the chosen camera and microphone, or the one of the two that there is, and shows the bubble for
    /// a camera; restarts those that run. False, and nothing happens, without any device.
    bool start();
    /// Takes the bubble away; the devices are the recorder's to stop.
    void end();
    /// The bubble follows the chosen corner and size.
    void updateBubble();

    bool isActive() const { return active_; }

  private:
    void showBubble();
    void hideBubble();
    double diameter() const;

    std::shared_ptr<RecordingEngine> engine_;
    const RecordingChoices& choices_;
    bool active_ = false;
};

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Capture/DeviceAbsences.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <functional>
#include <vector>

namespace cobaltreel {

/// The floating picture of the camera. Main thread, but for the frame handler.
class CameraBubble {
  public:
    using FrameHandler = std::function<void(const platform::ConstPixelBufferRef&)>;

    virtual ~CameraBubble() = default;
    /// Shows it, in place of the one before. `diameter` is its height in points. The pictures handed to
    /// `frameHandler` are already mirrored if that is wanted.
    virtual void show(CameraCorner corner, double diameter, CameraStyle style) = 0;
    /// Moves and resizes it; nothing while it is hidden.
    virtual void update(CameraCorner corner, double diameter) = 0;
    virtual void hide() = 0;
    /// What takes the camera's pictures for the style that is shown: called on the camera's queue, returns
    /// at once, may be called after `hide` and after the bubble has gone.
    virtual FrameHandler frameHandler() = 0;
};

/// The windows that the coordinator opens. Main thread.
class RecordingWindows {
  public:
    virtual ~RecordingWindows() = default;
    /// Opens the preview of a session in front, with a word about devices that were missing. `closed` is
    /// called once, after it was closed, with whether the last export that the user asked for was completed.
    virtual void openPreview(const SessionFolder& folder, const SessionMeta& meta,
                             std::vector<DeviceAbsence> absences,
                             std::function<void(bool hasExported)> closed) = 0;
    /// An export runs.
    virtual bool isExporting() const = 0;
    /// The application ends: closes all previews, and calls `ended` once, later, when each has been told of
    /// as closed. An export that runs has so many seconds to complete; then it is given up.
    virtual void endPreviews(double patience, std::function<void()> ended) = 0;
    virtual void openSettings() = 0;
};

/// The countdown before a recording. Main thread.
class RecordingCountdown {
  public:
    virtual ~RecordingCountdown() = default;
    /// Calls exactly one of the two later, on the main thread, unless `finish` comes first.
    virtual void run(std::function<void()> onCancel, std::function<void()> onDone) = 0;
    /// Ends a running countdown without a word: neither of the two is called.
    virtual void finish() = 0;
};

}  // namespace cobaltreel

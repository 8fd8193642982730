#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/SerialQueue.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A camera (`video`) or a microphone (`audio`).
struct CaptureDevice {
    std::string uniqueID;  ///< stays the same across restarts and replugging
    std::string name;      ///< for a person to read
    MediaType type = MediaType::video;

    friend bool operator==(const CaptureDevice&, const CaptureDevice&) = default;
};

/// The devices there are right now, in the host's order.
struct CaptureDevices {
    std::vector<CaptureDevice> cameras;
    std::vector<CaptureDevice> microphones;
    std::optional<CaptureDevice> defaultMicrophone;

    friend bool operator==(const CaptureDevices&, const CaptureDevices&) = default;
};

/// Something that befell a device in use.
struct CaptureEvent {
    enum class Kind {
        lost,        ///< it went away, or the media server did; it is taken up again should it return
        returned,    ///< it is back after `lost`, or can be used after `failed`, or sends after `stalled`
        failed,      ///< it could not be used at all
        unreadable,  ///< it sends pictures that cannot be decoded
        stalled,     ///< it is there and sends nothing
        silent,      ///< the microphone has sent nothing but silence
    };
    Kind kind = Kind::lost;
    CaptureDevice device;
    std::string message;  ///< a sentence that names the device and, where there is one, the remedy
};

/// Reads a camera and a microphone. What is asked for between `beginConfiguration` and
/// `commitConfiguration` takes effect at the commit, in one step; a device that was in use before and still
/// is stays open. All operations are called on one queue of the owner's, never on the queue that receives
/// samples; none waits for a device.
///
/// Pictures are i420 in the size of the preset whatever the camera offers: scaled and cropped in the
/// middle, never distorted. Sound is 48 kHz float with the channels asked for. Presentation times are
/// host-clock times of the moment when the device took the sample; a gap in what the device delivers is a
/// gap in the times.
class CaptureSession {
  public:
    using SampleHandler = std::function<void(const SampleBuffer&)>;

    struct Preset {
        int width = 1280;
        int height = 720;
        int microphoneChannels = 1;
    };

    /// Ends what runs; no handler is called after.
    virtual ~CaptureSession() = default;

    virtual void beginConfiguration() = 0;
    virtual void commitConfiguration() = 0;
    virtual void removeAllInputs() = 0;
    virtual void removeAllOutputs() = 0;
    virtual void setPreset(const Preset& preset) = 0;
    /// Uses a device; at most one of each type. Throws PlatformError when it is not there, when the media
    /// server cannot be reached, or when an input of this type is there already.
    virtual void addInput(const CaptureDevice& device) = 0;
    /// Delivers the samples of one type on `queue`, which outlives the session; no more than the queue
    /// takes, the rest is dropped. Throws PlatformError for a second output of one type.
    virtual void addOutput(MediaType type, SerialQueue& queue, SampleHandler handler) = 0;
    /// Whether pictures are flipped left to right. Holds for the video output added.
    virtual void setVideoMirrored(bool mirrored) = 0;

    virtual std::vector<CaptureDevice> inputs() const = 0;
    virtual bool isRunning() const = 0;
    virtual void startRunning() = 0;
    /// After it returns no handler is running and none is called until the next start.
    virtual void stopRunning() = 0;

    /// Told on a thread of the session's or within one of these operations. The handler must neither wait
    /// nor call the session. Set it before the first start.
    virtual void setEventHandler(std::function<void(const CaptureEvent&)> handler) = 0;
};

/// Cameras and microphones of the host. Any thread.
class CaptureService {
  public:
    virtual ~CaptureService() = default;

    /// What is there now; empty when the media server cannot be reached. The first call after creation, or
    /// after the server has come back, may wait for its answer, half a second at most; others return at once.
    virtual CaptureDevices devices() = 0;
    /// Told on a thread of the service's after every change of what `devices` returns. Replaces the
    /// handler before; an empty one ends it, and is not running once the call has returned.
    virtual void setDevicesChangedHandler(std::function<void()> changed) = 0;
    /// Never fails: without a media server the session refuses every input.
    virtual std::unique_ptr<CaptureSession> makeSession() = 0;
    /// Why no device can be used; absent when the media server answers.
    virtual std::optional<PlatformError> unavailable() = 0;
    virtual std::string implementation() const = 0;
};

}  // namespace platform

#pragma once

#include <functional>
#include <memory>
#include <span>

namespace platform {

/// A stream of sound to the user's speaker, 48 kHz stereo floats. Keeps trying while there is no server and
/// follows the desktop's choice of device by itself. Destroying it waits for a callback under way.
class AudioOutput {
  public:
    /// Fills `target`, whole stereo frames, the first of which is heard at `heardAt` (seconds of the host
    /// clock). Called on a real-time thread: must neither wait nor allocate.
    using Render = std::function<void(std::span<float> target, double heardAt)>;

    virtual ~AudioOutput() = default;
    /// Whether sound is asked for; what was asked for and not yet heard is dropped with false. Never waits.
    virtual void setActive(bool active) = 0;
};

/// Makes outputs. Main thread.
class AudioOutputService {
  public:
    virtual ~AudioOutputService() = default;
    virtual std::unique_ptr<AudioOutput> makeOutput(AudioOutput::Render render) = 0;
};

}  // namespace platform

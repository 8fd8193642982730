#pragma once

#include "Cobaltreel/Capture/RecordingEngine.hpp"

#include <cstdint>
#include <functional>
#include <memory>

namespace cobaltreel {

/// Measures the microphone of the running session twenty times a second. Main thread.
class MicrophoneMeter {
  public:
    /// `isAlive` says whether there still is a session; the meter ends with it. `measured` is called with
    /// each level, 0…1; 0 where no sound comes any more.
    MicrophoneMeter(std::shared_ptr<RecordingEngine> engine, std::function<bool()> isAlive,
                    std::function<void(float level)> measured);

    void start();
    void stop() { timer_.reset(); }

  private:
    void measure();

    std::shared_ptr<RecordingEngine> engine_;
    std::function<bool()> isAlive_;
    std::function<void(float)> measured_;
    std::unique_ptr<platform::Timer> timer_;
    std::uint64_t heard_ = 0;  // runs of sound, when the level was measured last
    int unheardTicks_ = 0;
};

}  // namespace cobaltreel

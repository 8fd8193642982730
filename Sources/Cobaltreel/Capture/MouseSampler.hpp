#pragma once

#include "CobaltreelCore/Models.hpp"
#include "Platform/Desktop/Desktop.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <cstdint>
#include <memory>
#include <vector>

namespace cobaltreel {

/// Notes sixty times a second where the pointer is and which buttons are down and, when one window is
/// recorded, where that window is. Main thread only. Ticks that a busy main thread misses are missing
/// samples; `t` is always the host-clock time at which the sample was really taken.
class MouseSampler {
  public:
    static constexpr double interval = 1.0 / 60;  ///< seconds

    MouseSampler(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
                 std::shared_ptr<platform::Desktop> desktop);

    /// Begins a fresh run; one under way is dropped with its samples. `windowID` is the platform's
    /// window number, of no meaning when a display is recorded.
    void start(CaptureMode mode, std::uint32_t windowID);

    /// Hands over what was collected since the last `start`, or since the last such call.
    EventLog takeSamples();
    /// Ends the run and hands over what was collected and not taken yet.
    EventLog stop();

  private:
    void takeSample();

    std::shared_ptr<platform::Clock> clock_;
    std::shared_ptr<platform::MainLoop> mainLoop_;
    std::shared_ptr<platform::Desktop> desktop_;
    std::unique_ptr<platform::Timer> timer_;
    std::vector<MouseSample> samples_;
    std::vector<WindowFrameSample> windowFrames_;
    CaptureMode mode_ = CaptureMode::display;
    std::uint32_t windowID_ = 0;
    double started_ = 0;  // of the host clock
};

}  // namespace cobaltreel

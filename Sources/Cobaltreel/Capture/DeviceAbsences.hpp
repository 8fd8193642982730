#pragma once

#include "Platform/Capture/CaptureSession.hpp"

#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

/// A span in which a device gave nothing to the recording, in seconds on the screen movie's timeline.
struct DeviceAbsence {
    std::string name;
    double from = 0;
    std::optional<double> until;  ///< absent: to the end

    friend bool operator==(const DeviceAbsence&, const DeviceAbsence&) = default;
};

/// Keeps account of devices that go and come back while a recording runs. Main thread.
class DeviceAbsences {
  public:
    /// `now`: host clock.
    void note(const platform::CaptureEvent& event, double now);
    /// In the order in which they began. `start`: host-clock time of the movie's first picture.
    std::vector<DeviceAbsence> since(double start) const;
    void clear() { absences_.clear(); }

  private:
    struct Absence {
        platform::CaptureDevice device;
        double from = 0;
        std::optional<double> until;
    };
    std::vector<Absence> absences_;
};

}  // namespace cobaltreel

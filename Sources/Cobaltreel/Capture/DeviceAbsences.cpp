#include "Cobaltreel/Capture/DeviceAbsences.hpp"

#include <algorithm>

namespace cobaltreel {

void DeviceAbsences::note(const platform::CaptureEvent& event, double now) {
    using Kind = platform::CaptureEvent::Kind;
    const auto open = std::ranges::find_if(absences_, [&](const Absence& absence) {
        return absence.device.uniqueID == event.device.uniqueID && !absence.until;
    });
    if (event.kind == Kind::returned) {
        if (open != absences_.end()) open->until = now;
    } else if (event.kind != Kind::silent && open == absences_.end()) {
        absences_.push_back({event.device, now, std::nullopt});
    }
}

std::vector<DeviceAbsence> DeviceAbsences::since(double start) const {
    std::vector<DeviceAbsence> found;
    for (const Absence& absence : absences_) {
        const auto until = absence.until ? std::optional(*absence.until - start) : std::nullopt;
        if (!until || *until > 0)
            found.push_back({absence.device.name, std::max(0.0, absence.from - start), until});
    }
    return found;
}

}  // namespace cobaltreel

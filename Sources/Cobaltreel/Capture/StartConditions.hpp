#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/RecordingEngine.hpp"
#include "Platform/Capture/CaptureStream.hpp"

#include <QCoroTask>
#include <cstdint>
#include <functional>
#include <memory>

/// What must hold before a recording counts down. What does not hold is said in an alert. Main thread.
namespace cobaltreel::StartConditions {

struct Outcome {
    bool areMet = false;
    /// Held until the stream has been made; null where the desktop does not ask the user.
    std::shared_ptr<platform::ContentGrant> grant;
};

/// Access to the microphone and the camera, `minFree` bytes on the disk, and the user's choice where the
/// desktop asks for it. Once `isOver`, which outlives the task, nothing more is asked, and `choices` may have
/// gone.
QCoro::Task<Outcome> check(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices,
                           std::int64_t minFree, const std::function<bool()>& isOver);

/// Asks for the microphone (and the camera); false when there is no recording without.
QCoro::Task<bool> authorize(std::shared_ptr<RecordingEngine> engine, bool needCamera);

}  // namespace cobaltreel::StartConditions

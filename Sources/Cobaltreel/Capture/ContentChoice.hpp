#pragma once

#include "Cobaltreel/Capture/RecordingChoices.hpp"
#include "Cobaltreel/Capture/RecordingEngine.hpp"
#include "Platform/Capture/CaptureStream.hpp"

#include <QCoroTask>
#include <memory>
#include <optional>

namespace cobaltreel::ContentChoice {

/// What a recording may begin with. The grant is held until the stream has been made; null where the desktop
/// does not ask the user.
struct Outcome {
    bool mayRecord = true;
    std::shared_ptr<platform::ContentGrant> grant;
    std::optional<platform::PlatformError> failure;  ///< absent when the user just closed the dialog
};

/// Lets the user choose in the desktop's own dialog, where it has one, what `choices` select. Main thread.
QCoro::Task<Outcome> request(std::shared_ptr<RecordingEngine> engine, const RecordingChoices& choices);

/// Selects what has been chosen.
void select(RecordingChoices& choices, const platform::ShareableContent& chosen);

}  // namespace cobaltreel::ContentChoice

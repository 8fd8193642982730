#pragma once

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Platform/Desktop/SingleInstance.hpp"

#include <string>

namespace cobaltreel {

/// What an instance answers to the commands `status` and `mark`: a JSON object each. Main thread.
namespace InstanceAnswers {

/// {"state": "idle" | "countdown" | "recording", "elapsed": seconds, "markers": count, "session": folder,
/// "exporting": bool}; `elapsed`, `markers` and `session` are of the recording that runs, else left out.
std::string status(const RecordingCoordinator& coordinator, bool isExporting);

/// Marks this moment: {"marked": true, "number": from one, "text": as it is kept}, or {"marked": false,
/// "reason": "notRecording" | "ending" | "tooMany"}.
std::string mark(RecordingCoordinator& coordinator, const std::string& text);

/// The answer to either; empty for the other requests.
std::string answer(const platform::InstanceRequest& request, RecordingCoordinator& coordinator,
                   bool isExporting);

}  // namespace InstanceAnswers

}  // namespace cobaltreel

#pragma once

#include "Platform/Desktop/SingleInstance.hpp"

#include <memory>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

namespace cobaltreel {

/// The application that runs in this session of the desktop.
std::shared_ptr<platform::SingleInstance> runningApplication();
/// A recording that `cobaltreel record` makes in this session of the desktop.
std::shared_ptr<platform::SingleInstance> terminalRecording();

/// The answers of what runs, the application's first, to a request that is answered with a JSON object; empty
/// when neither runs. Throws PlatformError when one runs and does not answer.
std::vector<nlohmann::json> queryRunning(const platform::InstanceRequest& request);

}  // namespace cobaltreel

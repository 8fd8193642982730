#pragma once

#include "Cobaltreel/Capture/RecordingSurroundings.hpp"
#include "Cobaltreel/Support/Alerts.hpp"
#include "Cobaltreel/Support/DiskSpace.hpp"
#include "Platform/Foundation/UserDefaults.hpp"
#include "Platform/RecordingHost.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

namespace cobaltreel {

/// All that the recording coordinator works with. Every pointer is set.
struct RecordingServices : platform::RecordingHost {
    RecordingServices() = default;
    explicit RecordingServices(const RecordingHost& host) : RecordingHost(host) {}

    std::shared_ptr<platform::UserDefaults> defaults;

    std::shared_ptr<CameraBubble> bubble;
    std::shared_ptr<RecordingCountdown> countdown;
    std::shared_ptr<RecordingWindows> windows;
    std::shared_ptr<AlertPresenter> alerts;

    /// Bytes that the volume of a path still takes.
    std::function<std::int64_t(const std::filesystem::path&)> freeBytes = DiskSpace::freeBytes;
    /// After so many seconds a recording ends by itself.
    double longestRecording = 1800;
    /// The wall clock: names the session folder.
    std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
};

}  // namespace cobaltreel

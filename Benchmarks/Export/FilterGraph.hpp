#pragma once

#include "Cobaltreel/Export/ExportOptions.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"
#include "Export/BenchmarkSession.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace cobaltreel::benchmarks {

/// The command line of an FFmpeg filter graph that makes the same movie with the same encoder settings:
/// zoom along the same plan, the camera as a round overlay, both sounds mixed. Ripples, ring and shadow
/// are left out, in its favour. `mask` is a file that is written: the circle.
std::vector<std::string> filterGraphCommand(const BenchmarkSession& session,
                                            const std::vector<CameraMove>& moves,
                                            const std::filesystem::path& mask,
                                            const std::filesystem::path& output);

}  // namespace cobaltreel::benchmarks

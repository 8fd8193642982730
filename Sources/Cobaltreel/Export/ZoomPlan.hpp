#pragma once

#include "CobaltreelCore/Models.hpp"
#include "CobaltreelCore/ZoomEngine.hpp"

#include <span>
#include <vector>

namespace cobaltreel {

/// When the automatic zoom moves.
enum class ZoomTiming {
    onClick,       ///< once a button has gone down
    anticipating,  ///< so that it is there when a button goes down
};

/// The camera's moves over the kept span of a recording. `clicks` are those of the log in output time.
std::vector<CameraMove> planZoom(ZoomTiming timing, const EventLog& log, const SessionMeta& meta,
                                 std::span<const Click> clicks, double trimStart, double trimEnd);

}  // namespace cobaltreel

#pragma once

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Platform/Desktop/StatusItem.hpp"

namespace cobaltreel {

/// What the status item shows and how that is drawn.
namespace StatusLabels {

platform::StatusLabel label(RecordingCoordinator::State state, double elapsed);

/// The label as one square. A symbol alone is white with a dark edge, which shows on every tray; a time
/// stands on a red square, the minutes over the seconds, as large as the square allows. Main thread.
platform::StatusPicture draw(const platform::StatusLabel& label, int side);

}  // namespace StatusLabels

}  // namespace cobaltreel

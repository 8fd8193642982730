#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Platform/Media/MediaService.hpp"

namespace cobaltreel {

/// The nearest time that the players' timescale has, in seconds. Damaged documents may hold any number; what
/// no time can hold is brought to the nearest that does.
double onTimescale(double seconds);

/// The session as the preview plays it: the whole screen movie, the microphone moved to where it belongs,
/// and the computer's sound. `cameraOffset` is how many seconds the camera movie began before the screen
/// movie. Opens the files, so not on the main thread. Throws PlatformError when a file cannot be opened,
/// std::runtime_error when the screen movie has no pictures.
platform::Composition makePreviewComposition(platform::MediaService& media, const SessionFolder& folder,
                                             double cameraOffset);

}  // namespace cobaltreel

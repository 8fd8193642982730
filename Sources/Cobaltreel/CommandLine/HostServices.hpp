#pragma once

#include "Platform/PlatformServices.hpp"

namespace cobaltreel {

/// The host's services as this program uses them: under its identifier, with the user's segmentation models
/// in the folder `models` beside the sessions. Main thread, after the application object exists.
platform::PlatformServices hostServices();

}  // namespace cobaltreel

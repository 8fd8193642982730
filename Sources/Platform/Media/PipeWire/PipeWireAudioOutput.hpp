#pragma once

#include "Platform/Media/AudioOutput.hpp"

#include <memory>

namespace platform {

namespace pipewire {
class PipeWireConnection;
}

/// Outputs on the desktop's PipeWire server, over the program's one connection to it.
std::shared_ptr<AudioOutputService> makePipeWireAudioOutputs(
    std::shared_ptr<pipewire::PipeWireConnection> connection);

}  // namespace platform

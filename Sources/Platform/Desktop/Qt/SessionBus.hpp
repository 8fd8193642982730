#pragma once

namespace platform {

/// Whether there is a session bus to ask. Without one the bus library would try to start a daemon and wait
/// for it.
bool hasSessionBus();

}  // namespace platform

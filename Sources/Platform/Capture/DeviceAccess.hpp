#pragma once

#include "Platform/Imaging/SampleBuffer.hpp"

#include <functional>

namespace platform {

/// Whether this process may use the user's devices of one kind.
enum class AuthorizationStatus {
    notDetermined,  ///< the user has not been asked yet
    restricted,     ///< the system forbids it, whatever the user says
    denied,
    authorized,
};

/// The user's consent to the use of cameras (`video`) and microphones (`audio`). Main thread, but for the
/// answer.
class DeviceAccess {
  public:
    virtual ~DeviceAccess() = default;
    virtual AuthorizationStatus authorizationStatus(MediaType type) = 0;
    /// Asks the user unless that is decided already; returns at once. `answered` is called once, on any
    /// thread, possibly before this returns, with whether such devices may be used.
    virtual void requestAccess(MediaType type, std::function<void(bool granted)> answered) = 0;
};

}  // namespace platform

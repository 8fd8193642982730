#pragma once

#include "Platform/Foundation/PlatformError.hpp"

#include <memory>
#include <string>

#include <mpv/client.h>

namespace platform::mpv {

struct HandleDeleter {
    void operator()(mpv_handle* handle) const { mpv_terminate_destroy(handle); }
};
/// Letting go of it waits for the library's threads, which may be closing a sound device.
using HandlePtr = std::unique_ptr<mpv_handle, HandleDeleter>;

/// A library instance that plays sound alone and touches neither the terminal nor anybody's configuration.
/// Throws PlatformError("libmpv", code) when there can be none. Main thread: it makes the process's numbers
/// be written the way the library demands.
HandlePtr makeHandle();

/// The library's error `code` (negative): `sentence` says what could not be done, without a full stop.
PlatformError libraryError(int code, const std::string& sentence);

}  // namespace platform::mpv

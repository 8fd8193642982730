#pragma once

#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <string>

namespace platform {

/// Reads what can be recorded from the server. This process is always among the applications when
/// `ownBundleIdentifier` is not empty.
ShareableContent readShareableContent(XcbConnection& connection, const std::string& ownBundleIdentifier);

}  // namespace platform

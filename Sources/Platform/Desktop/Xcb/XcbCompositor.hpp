#pragma once

#include "Platform/Desktop/Compositor.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <string>

namespace platform {

class XcbCompositor final : public Compositor {
  public:
    /// An empty name means $DISPLAY. Throws PlatformError when there is no such server.
    explicit XcbCompositor(const std::string& displayName = {}) : connection_(displayName) {}
    bool isRunning() override { return isComposited(connection_); }

  private:
    XcbConnection connection_;
};

}  // namespace platform

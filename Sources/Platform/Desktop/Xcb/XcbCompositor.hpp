#pragma once

#include "Platform/Desktop/Compositor.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <string>

namespace platform {

/// Asks who owns the selection that a compositing manager holds for as long as it runs.
class XcbCompositor final : public Compositor {
  public:
    /// An empty name means $DISPLAY. Throws PlatformError when there is no such server.
    explicit XcbCompositor(const std::string& displayName = {}) : connection_(displayName) {}
    bool isRunning() override;

  private:
    XcbConnection connection_;
};

}  // namespace platform

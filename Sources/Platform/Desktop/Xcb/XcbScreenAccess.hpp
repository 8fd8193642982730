#pragma once

#include "Platform/Desktop/ScreenAccess.hpp"

#include <string>
#include <utility>

namespace platform {

/// An X server shows its screen to every client it has let in, and has no way of asking.
class XcbScreenAccess final : public ScreenAccess {
  public:
    /// An empty name means $DISPLAY.
    explicit XcbScreenAccess(std::string displayName = {}) : displayName_(std::move(displayName)) {}
    /// Reads one pixel of the root window over a connection of its own.
    bool preflight() override;
    /// Does nothing.
    void request() override {}

  private:
    std::string displayName_;
};

}  // namespace platform

#pragma once

#include "Platform/Desktop/ScreenAccess.hpp"

#include <functional>
#include <utility>

namespace platform {

/// The screen may be captured when the desktop has a portal that shares it; the user is asked at each
/// recording.
class PortalScreenAccess final : public ScreenAccess {
  public:
    explicit PortalScreenAccess(std::function<bool()> isThere) : isThere_(std::move(isThere)) {}
    bool preflight() override { return isThere_(); }
    void request() override {}

  private:
    std::function<bool()> isThere_;
};

}  // namespace platform

#pragma once

#include "Platform/Desktop/PointerWatcher.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <string>

namespace platform {

/// Receives raw button presses, which arrive even while another client grabs the pointer.
class XcbPointerWatcher final : public PointerWatcher {
  public:
    /// An empty name means $DISPLAY.
    explicit XcbPointerWatcher(std::shared_ptr<MainLoop> mainLoop, std::string displayName = {});
    std::unique_ptr<PointerWatch> watchPresses(Pressed pressed) override;

  private:
    std::shared_ptr<MainLoop> mainLoop_;
    std::string displayName_;
};

}  // namespace platform

#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"

#include <memory>

namespace platform {

class PortalShortcuts;

/// Chords by the desktop's portal, which lets the user confirm or change the keys; Escape by the one who
/// serves our own windows. A desktop whose portal hands out no keys refuses them.
class PortalKeys final : public KeyGrabber {
  public:
    /// `windows` may be null: then Escape cannot be had.
    PortalKeys(std::shared_ptr<PortalBus> bus, std::shared_ptr<KeyGrabber> windows);

    std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) override;
    std::unique_ptr<KeyGrab> grabChord(const KeyChord& chord, std::function<void()> pressed) override;
    std::optional<PlatformError> chordsUnavailable() override;

  private:
    std::shared_ptr<PortalBus> bus_;
    std::shared_ptr<KeyGrabber> windows_;
    std::weak_ptr<PortalShortcuts> shortcuts_;  // those that were taken last
};

}  // namespace platform

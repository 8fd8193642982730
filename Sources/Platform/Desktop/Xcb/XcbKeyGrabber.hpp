#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <memory>
#include <string>

namespace platform {

/// Grabs keys of an X11 session. A passive grab keeps the key from every other program; the raw events
/// of the input extension also report presses of Escape while somebody else, such as an open menu, holds
/// the whole keyboard.
class XcbKeyGrabber final : public KeyGrabber {
  public:
    /// An empty name means $DISPLAY.
    explicit XcbKeyGrabber(std::shared_ptr<MainLoop> mainLoop, std::string displayName = {});
    std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) override;
    std::unique_ptr<KeyGrab> grabChord(const KeyChord& chord, std::function<void()> pressed) override;
    std::optional<PlatformError> chordsUnavailable() override { return std::nullopt; }

  private:
    std::shared_ptr<MainLoop> mainLoop_;
    std::string displayName_;
};

}  // namespace platform

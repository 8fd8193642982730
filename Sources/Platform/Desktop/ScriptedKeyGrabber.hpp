#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// A keyboard on which a test presses Escape.
class ScriptedKeyGrabber final : public KeyGrabber {
  public:
    /// When set, the key is refused with this error.
    std::optional<PlatformError> refusal;

    bool isGrabbed() const { return !pressed_.expired(); }
    /// Whether anyone had taken the key.
    bool pressEscape() {
        if (!isGrabbed()) return false;
        const std::function<void()> pressed = *pressed_.lock();
        pressed();
        return true;
    }

    std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) override {
        if (refusal) throw *refusal;
        auto grab = std::make_unique<Grab>();
        grab->pressed = std::make_shared<std::function<void()>>(std::move(pressed));
        pressed_ = grab->pressed;
        return grab;
    }

  private:
    struct Grab final : KeyGrab {
        std::shared_ptr<std::function<void()>> pressed;
    };
    std::weak_ptr<std::function<void()>> pressed_;
};

}  // namespace platform

#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// A keyboard on which a test presses Escape or a chord that was taken.
class FakeKeyGrabber final : public KeyGrabber {
  public:
    /// When set, the key is refused with this error.
    std::optional<PlatformError> refusal;

    bool isGrabbed() const { return !escape_.expired(); }
    /// Whether anyone had taken the key.
    bool pressEscape() { return press(escape_); }
    bool pressChord(int digit = 2) { return press(chordPressed_[digit]); }

    std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) override {
        return grab(escape_, std::move(pressed));
    }
    std::unique_ptr<KeyGrab> grabChord(const KeyChord& wanted, std::function<void()> pressed) override {
        return grab(chordPressed_[wanted.digit], std::move(pressed));
    }
    std::optional<PlatformError> chordsUnavailable() override { return refusal; }

  private:
    using Callback = std::function<void()>;
    struct Grab final : KeyGrab {
        std::shared_ptr<Callback> pressed;
    };

    std::unique_ptr<KeyGrab> grab(std::weak_ptr<Callback>& key, Callback pressed) {
        if (refusal) throw *refusal;
        auto taken = std::make_unique<Grab>();
        taken->pressed = std::make_shared<Callback>(std::move(pressed));
        key = taken->pressed;
        return taken;
    }
    static bool press(const std::weak_ptr<Callback>& key) {
        if (key.expired()) return false;
        const Callback pressed = *key.lock();
        pressed();
        return true;
    }

    std::weak_ptr<Callback> escape_;
    std::map<int, std::weak_ptr<Callback>> chordPressed_;  // by digit
};

}  // namespace platform

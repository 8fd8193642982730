#pragma once

#include "Platform/Desktop/KeyGrab.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace cobaltreel {

/// The one chord that works whichever program has the keyboard: Option-Command-2. Main thread only.
class HotkeyManager {
  public:
    static constexpr platform::KeyChord chord{.digit = 2, .command = true, .option = true};

    /// `keys` may be null: then there is no chord.
    explicit HotkeyManager(std::shared_ptr<platform::KeyGrabber> keys) : keys_(std::move(keys)) {}

    /// What a press does; called in a turn of the main loop of its own.
    std::function<void()> onPress;

    /// Takes the chord for as long as the manager lives. Where another program has it the application goes
    /// on without; false then.
    bool registerChord();

  private:
    std::shared_ptr<platform::KeyGrabber> keys_;
    std::unique_ptr<platform::KeyGrab> hotKey_;
};

}  // namespace cobaltreel

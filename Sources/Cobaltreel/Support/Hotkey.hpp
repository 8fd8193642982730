#pragma once

#include "Platform/Desktop/KeyGrab.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace cobaltreel {

/// A chord that works whichever program has the keyboard. Main thread only.
class HotkeyManager {
  public:
    /// Option-Command-2 starts and stops a recording.
    static constexpr platform::KeyChord chord{.digit = 2,
                                              .command = true,
                                              .option = true,
                                              .identifier = "toggle",
                                              .meaning = "Start or stop a recording"};
    /// Option-Command-3 marks a moment of a recording.
    static constexpr platform::KeyChord markChord{.digit = 3,
                                                  .command = true,
                                                  .option = true,
                                                  .identifier = "mark",
                                                  .meaning = "Mark this moment of the recording"};

    /// `keys` may be null: then there is no chord.
    explicit HotkeyManager(std::shared_ptr<platform::KeyGrabber> keys, platform::KeyChord wanted = chord)
        : keys_(std::move(keys)), wanted_(wanted) {}

    /// What a press does; called in a turn of the main loop of its own.
    std::function<void()> onPress;

    /// Takes the chord until it is released or the manager goes. Where another program has it the application
    /// goes on without; false then.
    bool registerChord();
    void releaseChord() { hotKey_.reset(); }

  private:
    std::shared_ptr<platform::KeyGrabber> keys_;
    platform::KeyChord wanted_;
    std::unique_ptr<platform::KeyGrab> hotKey_;
};

}  // namespace cobaltreel

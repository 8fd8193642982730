#pragma once

#include "Platform/Foundation/PlatformError.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace platform {

/// A key taken from the whole desktop; destroying it gives the key back, and its callback is never
/// called again.
class KeyGrab {
  public:
    virtual ~KeyGrab() = default;
};

/// A digit together with modifiers, and none besides.
struct KeyChord {
    int digit = 0;  ///< 0 … 9: the key that bears it on an ANSI keyboard, whatever the layout types there
    bool command = false;           ///< the Super key where keyboards have no Command
    bool option = false;            ///< the Alt key where keyboards have no Option
    std::string_view identifier{};  ///< under which a desktop that asks the user keeps the answer; a literal
    std::string_view meaning{};     ///< what such a desktop says that it does; a literal

    friend bool operator==(const KeyChord&, const KeyChord&) = default;
};

/// Takes single keys from the whole desktop, whichever window has the keyboard. Main thread.
class KeyGrabber {
  public:
    virtual ~KeyGrabber() = default;
    /// Calls `pressed` on the main thread for every press of Escape, with any modifiers. No other
    /// program sees the key; all other keys go where they always go. Throws PlatformError when the key
    /// can't be had.
    virtual std::unique_ptr<KeyGrab> grabEscape(std::function<void()> pressed) = 0;
    /// Calls `pressed` on the main thread, in a later turn, once for every press of the chord, whatever the
    /// lock keys' state, also when the key is held until it repeats. No other program sees the chord. Throws
    /// PlatformError when another program has it.
    virtual std::unique_ptr<KeyGrab> grabChord(const KeyChord& chord, std::function<void()> pressed) = 0;
    /// Why this desktop gives no program any chord, with what to do instead; absent when it does.
    virtual std::optional<PlatformError> chordsUnavailable() = 0;
};

}  // namespace platform

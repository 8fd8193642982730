#pragma once

#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <vector>

namespace platform {

/// The keys that type this symbol in any state of the layout.
std::vector<xcb_keycode_t> keycodesOf(const XcbConnection& connection, xcb_keysym_t keysym);

/// The key that bears a digit, 0 … 9, on an ANSI keyboard. X numbers that row the same on every keyboard.
xcb_keycode_t keycodeOfDigit(int digit);

/// The keys of the modifiers in `mask`, bits of an event's state.
std::vector<xcb_keycode_t> keycodesOfModifier(const XcbConnection& connection, std::uint16_t mask);

/// Which bits of an event's state stand for which modifier.
struct ModifierMasks {
    std::uint16_t alt = XCB_MOD_MASK_1;
    std::uint16_t super = XCB_MOD_MASK_4;
    std::uint16_t numLock = 0;
    std::uint16_t scrollLock = 0;

    /// Every combination of the lock keys, none included, each once.
    std::vector<std::uint16_t> statesOfLockKeys() const;
};
ModifierMasks modifierMasks(const XcbConnection& connection);

}  // namespace platform

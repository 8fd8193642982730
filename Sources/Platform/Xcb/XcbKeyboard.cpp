#include "Platform/Xcb/XcbKeyboard.hpp"

#include <algorithm>

namespace platform {
namespace {

// X11/keysymdef.h
constexpr xcb_keysym_t altKeysym = 0xffe9;         // XK_Alt_L
constexpr xcb_keysym_t superKeysym = 0xffeb;       // XK_Super_L
constexpr xcb_keysym_t numLockKeysym = 0xff7f;     // XK_Num_Lock
constexpr xcb_keysym_t scrollLockKeysym = 0xff14;  // XK_Scroll_Lock

}  // namespace

std::vector<xcb_keycode_t> keycodesOf(const XcbConnection& connection, xcb_keysym_t keysym) {
    const xcb_setup_t* setup = xcb_get_setup(connection.get());
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto mapping =
        connection.reply(xcb_get_keyboard_mapping_reply,
                         xcb_get_keyboard_mapping(connection.get(), setup->min_keycode, count));
    std::vector<xcb_keycode_t> keycodes;
    if (!mapping) return keycodes;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (int key = 0; key < count; ++key) {
        const xcb_keysym_t* first = keysyms + key * mapping->keysyms_per_keycode;
        if (std::find(first, first + mapping->keysyms_per_keycode, keysym) !=
            first + mapping->keysyms_per_keycode)
            keycodes.push_back(static_cast<xcb_keycode_t>(setup->min_keycode + key));
    }
    return keycodes;
}

xcb_keycode_t keycodeOfDigit(int digit) {
    // The row from 1 to 0 has the keycodes 10 to 19.
    return static_cast<xcb_keycode_t>(9 + (digit == 0 ? 10 : digit));
}

ModifierMasks modifierMasks(const XcbConnection& connection) {
    ModifierMasks masks;
    const auto mapping = connection.reply(xcb_get_modifier_mapping_reply,
                                          xcb_get_modifier_mapping_unchecked(connection.get()));
    if (!mapping) return masks;
    const xcb_keycode_t* modifiers = xcb_get_modifier_mapping_keycodes(mapping.get());
    const int perModifier = mapping->keycodes_per_modifier;
    const auto maskOf = [&](xcb_keysym_t keysym, std::uint16_t otherwise) {
        for (const xcb_keycode_t keycode : keycodesOf(connection, keysym)) {
            const xcb_keycode_t* const end = modifiers + 8 * perModifier;
            const xcb_keycode_t* const found = std::find(modifiers, end, keycode);
            if (found != end) return static_cast<std::uint16_t>(1U << ((found - modifiers) / perModifier));
        }
        return otherwise;
    };
    masks.alt = maskOf(altKeysym, masks.alt);
    masks.super = maskOf(superKeysym, masks.super);
    masks.numLock = maskOf(numLockKeysym, masks.numLock);
    masks.scrollLock = maskOf(scrollLockKeysym, masks.scrollLock);
    return masks;
}

std::vector<xcb_keycode_t> keycodesOfModifier(const XcbConnection& connection, std::uint16_t mask) {
    const auto mapping = connection.reply(xcb_get_modifier_mapping_reply,
                                          xcb_get_modifier_mapping_unchecked(connection.get()));
    std::vector<xcb_keycode_t> keycodes;
    if (!mapping) return keycodes;
    const xcb_keycode_t* all = xcb_get_modifier_mapping_keycodes(mapping.get());
    for (int i = 0; i < 8 * mapping->keycodes_per_modifier; ++i)
        if ((mask >> (i / mapping->keycodes_per_modifier) & 1) != 0 && all[i] != 0)
            keycodes.push_back(all[i]);
    return keycodes;
}

std::vector<std::uint16_t> ModifierMasks::statesOfLockKeys() const {
    std::vector<std::uint16_t> states{0};
    for (const std::uint16_t lock : {static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK), numLock, scrollLock}) {
        const auto without = states;
        for (const std::uint16_t state : without) states.push_back(state | lock);
    }
    std::sort(states.begin(), states.end());
    states.erase(std::unique(states.begin(), states.end()), states.end());
    return states;
}

}  // namespace platform

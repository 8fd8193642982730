#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Platform/Xcb/XcbEventWatch.hpp"
#include "Platform/Xcb/XcbKeyboard.hpp"
#include "Platform/Xcb/XcbRawInput.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include <xcb/xinput.h>

namespace platform {
namespace {

class XcbKeyGrab final : public KeyGrab {
  public:
    XcbKeyGrab(XcbConnection connection, XcbEventWatch::Filter isPress, MainLoop& mainLoop,
               std::function<void()> pressed)
        : events_(std::move(connection), std::move(isPress), mainLoop, std::move(pressed)) {}

  private:
    XcbEventWatch events_;
};

bool grabKey(const XcbConnection& connection, xcb_keycode_t keycode, std::uint16_t modifiers) {
    return connection.succeeded(xcb_grab_key_checked(connection.get(), 0, connection.root(), modifiers,
                                                     keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
}

/// Presses of one key with any modifiers.
class PressOfKey {
  public:
    PressOfKey(std::vector<xcb_keycode_t> keycodes, bool watchesRawKeys)
        : keycodes_(std::move(keycodes)), watchesRawKeys_(watchesRawKeys) {}

    /// Each press comes twice, raw and through the grab; raw ones are complete.
    bool operator()(XcbConnection&, const xcb_generic_event_t& event) const {
        std::uint32_t keycode = 0;
        const auto type = event.response_type & 0x7f;
        if (type == XCB_KEY_PRESS && !watchesRawKeys_) {
            keycode = reinterpret_cast<const xcb_key_press_event_t&>(event).detail;
        } else if (type == XCB_GE_GENERIC) {
            const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
            if (raw.event_type == XCB_INPUT_RAW_KEY_PRESS) keycode = raw.detail;
        }
        return std::find(keycodes_.begin(), keycodes_.end(), keycode) != keycodes_.end();
    }

  private:
    std::vector<xcb_keycode_t> keycodes_;
    bool watchesRawKeys_;
};

/// The keys of one modifier, and whether the chord has it.
class HeldModifier {
  public:
    HeldModifier(std::vector<xcb_keycode_t> keys, bool wanted) : keys_(std::move(keys)), wanted_(wanted) {}

    void update(xcb_keycode_t key, bool press) {
        if (std::ranges::find(keys_, key) == keys_.end()) return;
        std::erase(held_, key);
        if (press) held_.push_back(key);
    }
    bool isAsWanted() const { return held_.empty() != wanted_; }

  private:
    std::vector<xcb_keycode_t> keys_;
    bool wanted_;
    std::vector<xcb_keycode_t> held_;
};

/// Presses of a grabbed chord. Where another program grabs one of its modifiers, such as the key that opens
/// a menu, our grab stays silent and the raw events tell.
class PressOfChord {
  public:
    /// Between two presses of a key held down. Its release may be lost to a window manager that has taken the
    /// keyboard.
    static constexpr xcb_timestamp_t longestRepeat = 1000;  // milliseconds

    PressOfChord(xcb_keycode_t key, std::vector<HeldModifier> modifiers)
        : key_(key), modifiers_(std::move(modifiers)) {}

    bool operator()(XcbConnection&, const xcb_generic_event_t& event) {
        const auto type = event.response_type & 0x7f;
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
            return key.detail == key_ && isGrabbedPress(type == XCB_KEY_PRESS, key.time);
        }
        if (type != XCB_GE_GENERIC) return false;
        const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        const bool press = raw.event_type == XCB_INPUT_RAW_KEY_PRESS;
        if (!press && raw.event_type != XCB_INPUT_RAW_KEY_RELEASE) return false;
        for (HeldModifier& modifier : modifiers_)
            modifier.update(static_cast<xcb_keycode_t>(raw.detail), press);
        return raw.detail == key_ && isRawPress(press, raw.time);
    }

  private:
    /// A key held down repeats as pairs of a release and a press at one moment.
    bool isGrabbedPress(bool press, xcb_timestamp_t time) {
        if (!press) releasedAt_ = time;
        return press && time != releasedAt_ && isFirst(time);
    }
    bool isRawPress(bool press, xcb_timestamp_t time) {
        const bool wasDown = std::exchange(isDown_, press);
        const xcb_timestamp_t before = std::exchange(rawAt_, time);
        return press && !(wasDown && time - before < longestRepeat) &&
               std::ranges::all_of(modifiers_, [](const auto& each) { return each.isAsWanted(); }) &&
               isFirst(time);
    }
    /// One press comes both ways.
    bool isFirst(xcb_timestamp_t time) { return std::exchange(toldOf_, time) != time; }

    xcb_keycode_t key_;
    std::vector<HeldModifier> modifiers_;
    bool isDown_ = false;
    xcb_timestamp_t rawAt_ = 0;
    xcb_timestamp_t toldOf_ = 0;
    xcb_timestamp_t releasedAt_ = 0;
};

}  // namespace

XcbKeyGrabber::XcbKeyGrabber(std::shared_ptr<MainLoop> mainLoop, std::string displayName)
    : mainLoop_(std::move(mainLoop)), displayName_(std::move(displayName)) {}

std::unique_ptr<KeyGrab> XcbKeyGrabber::grabEscape(std::function<void()> pressed) {
    XcbConnection connection(displayName_);
    constexpr xcb_keysym_t escapeKeysym = 0xff1b;  // XK_Escape
    auto keycodes = keycodesOf(connection, escapeKeysym);
    const bool watchesRawKeys = watchRawInput(connection, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS);
    bool grabbed = !keycodes.empty();
    for (const xcb_keycode_t keycode : keycodes)
        grabbed = grabKey(connection, keycode, XCB_MOD_MASK_ANY) && grabbed;
    if (!grabbed && (!watchesRawKeys || keycodes.empty()))
        throw PlatformError("Desktop", 0,
                            "The Escape key of display " + connection.name() +
                                " is taken by another program; close that program's shortcut for it.");
    return std::make_unique<XcbKeyGrab>(std::move(connection),
                                        PressOfKey(std::move(keycodes), watchesRawKeys), *mainLoop_,
                                        std::move(pressed));
}

std::unique_ptr<KeyGrab> XcbKeyGrabber::grabChord(const KeyChord& chord, std::function<void()> pressed) {
    XcbConnection connection(displayName_);
    const ModifierMasks masks = modifierMasks(connection);
    const auto modifiers =
        static_cast<std::uint16_t>((chord.command ? masks.super : 0) | (chord.option ? masks.alt : 0));
    const xcb_keycode_t keycode = keycodeOfDigit(chord.digit);
    for (const std::uint16_t locks : masks.statesOfLockKeys()) {
        // Giving up closes the connection, which gives the others back.
        if (!grabKey(connection, keycode, modifiers | locks))
            throw PlatformError("Desktop", XCB_ACCESS,
                                std::string("The shortcut ") + (chord.option ? "Alt+" : "") +
                                    (chord.command ? "Super+" : "") + std::to_string(chord.digit) +
                                    " of display " + connection.name() +
                                    " is taken by another program; free it in that program's settings.");
    }
    watchRawInput(connection,
                  XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE);
    std::vector<HeldModifier> held;
    for (const auto& [mask, wanted] : {std::pair{masks.alt, chord.option},
                                       {masks.super, chord.command},
                                       {static_cast<std::uint16_t>(XCB_MOD_MASK_SHIFT), false},
                                       {static_cast<std::uint16_t>(XCB_MOD_MASK_CONTROL), false}})
        held.emplace_back(keycodesOfModifier(connection, mask), wanted);
    return std::make_unique<XcbKeyGrab>(std::move(connection), PressOfChord(keycode, std::move(held)),
                                        *mainLoop_, std::move(pressed));
}

}  // namespace platform

#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"

#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Platform/Desktop/Xcb/XcbEventThread.hpp"
#include "Platform/Desktop/Xcb/XcbKeyboard.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include <xcb/xinput.h>

namespace platform {
namespace {

class XcbKeyGrab final : public KeyGrab {
  public:
    XcbKeyGrab(XcbConnection connection, XcbEventThread::Filter isPress, std::shared_ptr<MainLoop> mainLoop,
               std::function<void()> pressed)
        : events_(std::move(connection), "cobaltreel.keys", std::move(isPress), std::move(mainLoop),
                  std::move(pressed)) {}

  private:
    XcbEventThread events_;
};

bool grabKey(const XcbConnection& connection, xcb_keycode_t keycode, std::uint16_t modifiers) {
    return connection.succeeded(xcb_grab_key_checked(connection.get(), 0, connection.root(), modifiers,
                                                     keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
}

bool watchRawKeys(const XcbConnection& connection) {
    if (connection.extension(xcb_input_id) == nullptr) return false;
    // From 2.1 on raw events come through other programs' grabs.
    const auto version = connection.reply(xcb_input_xi_query_version_reply,
                                          xcb_input_xi_query_version(connection.get(), 2, 1));
    if (!version || std::pair(version->major_version, version->minor_version) <
                        std::pair<std::uint16_t, std::uint16_t>(2, 1))
        return false;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } const wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS};
    return connection.succeeded(
        xcb_input_xi_select_events_checked(connection.get(), connection.root(), 1, &wanted.head));
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

/// Presses of a grabbed chord. A key held down repeats as pairs of a release and a press at one moment.
class PressOfChord {
  public:
    bool operator()(XcbConnection&, const xcb_generic_event_t& event) {
        const auto type = event.response_type & 0x7f;
        if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return false;
        const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
        if (type == XCB_KEY_RELEASE) {
            releasedAt_ = key.time;
            return false;
        }
        return key.time != releasedAt_;
    }

  private:
    xcb_timestamp_t releasedAt_ = 0;
};

}  // namespace

XcbKeyGrabber::XcbKeyGrabber(std::shared_ptr<MainLoop> mainLoop, std::string displayName)
    : mainLoop_(std::move(mainLoop)), displayName_(std::move(displayName)) {}

std::unique_ptr<KeyGrab> XcbKeyGrabber::grabEscape(std::function<void()> pressed) {
    XcbConnection connection(displayName_);
    constexpr xcb_keysym_t escapeKeysym = 0xff1b;  // XK_Escape
    auto keycodes = keycodesOf(connection, escapeKeysym);
    const bool watchesRawKeys = watchRawKeys(connection);
    bool grabbed = !keycodes.empty();
    for (const xcb_keycode_t keycode : keycodes)
        grabbed = grabKey(connection, keycode, XCB_MOD_MASK_ANY) && grabbed;
    if (!grabbed && (!watchesRawKeys || keycodes.empty()))
        throw PlatformError("Desktop", 0,
                            "The Escape key of display " + connection.name() +
                                " is taken by another program; close that program's shortcut for it.");
    return std::make_unique<XcbKeyGrab>(std::move(connection),
                                        PressOfKey(std::move(keycodes), watchesRawKeys), mainLoop_,
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
    return std::make_unique<XcbKeyGrab>(std::move(connection), PressOfChord(), mainLoop_, std::move(pressed));
}

}  // namespace platform

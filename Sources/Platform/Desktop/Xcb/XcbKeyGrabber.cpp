#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"

#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/xinput.h>

namespace platform {
namespace {

constexpr xcb_keysym_t escapeKeysym = 0xff1b;  // XK_Escape

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

/// One grabbed key on a connection of its own, watched by a thread of its own.
class XcbKeyGrab final : public KeyGrab {
  public:
    XcbKeyGrab(const std::string& displayName, xcb_keysym_t keysym, std::shared_ptr<MainLoop> mainLoop,
               std::function<void()> pressed)
        : connection_(displayName),
          keycodes_(keycodesOf(connection_, keysym)),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          mainLoop_(std::move(mainLoop)),
          pressed_(std::make_shared<std::function<void()>>(std::move(pressed))) {
        if (!wake_)
            throw PlatformError("Desktop", errno, std::string("no wake-up call: ") + std::strerror(errno));
        watchesRawKeys_ = watchRawKeys();
        bool grabbed = !keycodes_.empty();
        for (const xcb_keycode_t keycode : keycodes_)
            grabbed = connection_.succeeded(xcb_grab_key_checked(connection_.get(), 0, connection_.root(),
                                                                 XCB_MOD_MASK_ANY, keycode,
                                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)) &&
                      grabbed;
        if (!grabbed && (!watchesRawKeys_ || keycodes_.empty()))
            throw PlatformError("Desktop", 0,
                                "The Escape key of display " + connection_.name() +
                                    " is taken by another program; close that program's shortcut for it.");
        thread_ = NamedThread("cobaltreel.keys", [this] { watch(); });
    }

    ~XcbKeyGrab() override {
        pressed_.reset();
        const std::uint64_t one = 1;
        // An event counter at zero takes one write.
        [[maybe_unused]] const auto written = write(wake_.get(), &one, sizeof one);
        thread_.join();
    }

  private:
    bool watchRawKeys() {
        if (connection_.extension(xcb_input_id) == nullptr) return false;
        // From 2.1 on raw events come through other programs' grabs.
        const auto version = connection_.reply(xcb_input_xi_query_version_reply,
                                               xcb_input_xi_query_version(connection_.get(), 2, 1));
        if (!version || std::pair(version->major_version, version->minor_version) <
                            std::pair<std::uint16_t, std::uint16_t>(2, 1))
            return false;
        struct {
            xcb_input_event_mask_t head;
            std::uint32_t mask;
        } const wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS};
        return connection_.succeeded(
            xcb_input_xi_select_events_checked(connection_.get(), connection_.root(), 1, &wanted.head));
    }

    /// Whether the event is a press of this key. Each press comes twice, raw and through the grab; raw
    /// ones are complete.
    bool isPress(const xcb_generic_event_t& event) const {
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

    void watch() {
        pollfd waiting[2]{{xcb_get_file_descriptor(connection_.get()), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        for (;;) {
            while (const XcbEvent event{xcb_poll_for_event(connection_.get())}) {
                if (isPress(*event)) report();
            }
            if (connection_.isBroken()) return;
            if (poll(waiting, 2, -1) < 0 && errno != EINTR) return;
            if (waiting[1].revents != 0) return;
        }
    }

    void report() {
        try {
            mainLoop_->post([weak = alive_] {
                // Held while it runs: the callback may destroy the grab.
                if (const auto pressed = weak.lock()) (*pressed)();
            });
        } catch (const std::exception&) {
            // Out of memory for one key press: the next one may get through.
        }
    }

    XcbConnection connection_;
    std::vector<xcb_keycode_t> keycodes_;
    bool watchesRawKeys_ = false;
    UniqueFd wake_;
    std::shared_ptr<MainLoop> mainLoop_;
    std::shared_ptr<std::function<void()>> pressed_;
    const std::weak_ptr<std::function<void()>> alive_{pressed_};
    NamedThread thread_;
};

}  // namespace

XcbKeyGrabber::XcbKeyGrabber(std::shared_ptr<MainLoop> mainLoop, std::string displayName)
    : mainLoop_(std::move(mainLoop)), displayName_(std::move(displayName)) {}

std::unique_ptr<KeyGrab> XcbKeyGrabber::grabEscape(std::function<void()> pressed) {
    return std::make_unique<XcbKeyGrab>(displayName_, escapeKeysym, mainLoop_, std::move(pressed));
}

}  // namespace platform

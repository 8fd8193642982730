#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"

#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Platform/Xcb/XcbRawInput.hpp"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <xcb/xinput.h>

namespace platform {
namespace {

/// A raw press does not say where: that is asked at once, on a thread of its own, because the pointer moves
/// on while the main thread is busy.
class XcbPointerWatch final : public PointerWatch {
  public:
    XcbPointerWatch(XcbConnection connection, std::shared_ptr<MainLoop> mainLoop,
                    PointerWatcher::Pressed pressed)
        : connection_(std::move(connection)),
          mainLoop_(std::move(mainLoop)),
          pressed_(std::move(pressed)),
          wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!wake_)
            throw PlatformError("Desktop", errno, std::string("no wake-up call: ") + std::strerror(errno));
        thread_ = NamedThread("cobaltreel.pointer", [this] { watch(); });
    }
    ~XcbPointerWatch() override {
        const std::uint64_t one = 1;
        // An event counter at zero takes one write.
        [[maybe_unused]] const auto written = write(wake_.get(), &one, sizeof one);
        thread_.join();
    }
    XcbPointerWatch(const XcbPointerWatch&) = delete;
    XcbPointerWatch& operator=(const XcbPointerWatch&) = delete;

  private:
    void watch() {
        pollfd waiting[2]{{xcb_get_file_descriptor(connection_.get()), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        for (;;) {
            while (const XcbEvent event{xcb_poll_for_event(connection_.get())})
                if (isPress(*event)) report();
            if (connection_.isBroken()) return;
            if (poll(waiting, 2, -1) < 0 && errno != EINTR) return;
            if (waiting[1].revents != 0) return;
        }
    }
    static bool isPress(const xcb_generic_event_t& event) {
        return (event.response_type & 0x7f) == XCB_GE_GENERIC &&
               reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type ==
                   XCB_INPUT_RAW_BUTTON_PRESS;
    }
    void report() {
        const auto now = connection_.reply(xcb_query_pointer_reply,
                                           xcb_query_pointer(connection_.get(), connection_.root()));
        if (!now) return;
        mainLoop_->post(lifetime_.guard([this, x = now->root_x, y = now->root_y] {
            const auto pressed = pressed_;  // outlives this watch if the callback destroys it
            pressed(x, y);
        }));
    }

    XcbConnection connection_;
    std::shared_ptr<MainLoop> mainLoop_;
    const PointerWatcher::Pressed pressed_;
    Lifetime lifetime_;
    UniqueFd wake_;
    NamedThread thread_;
};

}  // namespace

XcbPointerWatcher::XcbPointerWatcher(std::shared_ptr<MainLoop> mainLoop, std::string displayName)
    : mainLoop_(std::move(mainLoop)), displayName_(std::move(displayName)) {}

std::unique_ptr<PointerWatch> XcbPointerWatcher::watchPresses(Pressed pressed) {
    try {
        XcbConnection connection(displayName_);
        if (!watchRawInput(connection, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS)) return nullptr;
        return std::make_unique<XcbPointerWatch>(std::move(connection), mainLoop_, std::move(pressed));
    } catch (const PlatformError&) {
        return nullptr;
    }
}

}  // namespace platform

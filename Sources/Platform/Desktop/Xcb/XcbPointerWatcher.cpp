#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"

#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Platform/Desktop/Xcb/XcbEventThread.hpp"
#include "Platform/Desktop/Xcb/XcbRawInput.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <atomic>
#include <cstdint>
#include <utility>

#include <xcb/xinput.h>

namespace platform {
namespace {

class XcbPointerWatch final : public PointerWatch {
  public:
    XcbPointerWatch(XcbConnection connection, std::shared_ptr<MainLoop> mainLoop,
                    PointerWatcher::Pressed pressed)
        : events_(
              std::move(connection), "cobaltreel.pointer",
              [latest = latest_](XcbConnection& from, const xcb_generic_event_t& event) {
                  if ((event.response_type & 0x7f) != XCB_GE_GENERIC ||
                      reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type !=
                          XCB_INPUT_RAW_BUTTON_PRESS)
                      return false;
                  const auto now =
                      from.reply(xcb_query_pointer_reply, xcb_query_pointer(from.get(), from.root()));
                  if (now) *latest = Place{now->root_x, now->root_y};
                  return now != nullptr;
              },
              std::move(mainLoop),
              [latest = latest_, pressed = std::move(pressed)] {
                  const Place place = latest->load();
                  pressed(place.x, place.y);
              }) {}

  private:
    struct Place {
        std::int16_t x = 0;
        std::int16_t y = 0;
    };

    std::shared_ptr<std::atomic<Place>> latest_ = std::make_shared<std::atomic<Place>>();  // of the presses
    XcbEventThread events_;
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

#include "Platform/Capture/Xcb/DamageTracker.hpp"

#include "Platform/Capture/Xcb/CaptureSource.hpp"
#include "Platform/Foundation/PlatformError.hpp"

namespace platform {

DamageTracker::DamageTracker(const XcbConnection& connection, xcb_drawable_t drawable, std::uint8_t level)
    : connection_(connection) {
    const auto* extension = connection.extension(xcb_damage_id);
    const bool isThere =
        extension != nullptr &&
        connection.reply(xcb_damage_query_version_reply, xcb_damage_query_version(connection.get(), 1, 1));
    if (connection.isBroken()) return;  // the stream reports that
    if (!isThere)
        throw PlatformError("ScreenCapture", serverLacks,
                            "The X server of display \"" + connection.name() +
                                "\" has no DAMAGE extension, so changes of the screen cannot be followed.");
    event_ = extension->first_event + XCB_DAMAGE_NOTIFY;
    damage_ = xcb_generate_id(connection.get());
    xcb_damage_create(connection.get(), damage_, drawable, level);
}

DamageTracker::~DamageTracker() { xcb_damage_destroy(connection_.get(), damage_); }

std::optional<PixelRect> DamageTracker::boxOf(const xcb_generic_event_t& event) const {
    if ((event.response_type & 0x7f) != event_) return std::nullopt;
    const auto& notify = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
    if (notify.damage != damage_) return std::nullopt;
    return PixelRect{notify.area.x, notify.area.y, notify.area.width, notify.area.height};
}

void DamageTracker::clear() { xcb_damage_subtract(connection_.get(), damage_, XCB_NONE, XCB_NONE); }

}  // namespace platform

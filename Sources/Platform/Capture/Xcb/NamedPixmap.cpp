#include "Platform/Capture/Xcb/NamedPixmap.hpp"

#include <utility>

#include <xcb/composite.h>

namespace platform {

std::optional<NamedPixmap> NamedPixmap::of(const XcbConnection& connection, xcb_window_t window) {
    xcb_connection_t* c = connection.get();
    const xcb_pixmap_t id = xcb_generate_id(c);
    const auto naming = xcb_composite_name_window_pixmap_checked(c, window, id);
    const auto geometry = connection.reply(xcb_get_geometry_reply, xcb_get_geometry(c, id));
    // A name that was given has a geometry, unless the server is gone.
    if (!connection.succeeded(naming) || !geometry) return std::nullopt;
    return NamedPixmap(connection, id, *geometry);
}

NamedPixmap::NamedPixmap(const XcbConnection& connection, xcb_pixmap_t id,
                         const xcb_get_geometry_reply_t& geometry)
    : connection_(&connection),
      id_(id),
      width_(geometry.width),
      height_(geometry.height),
      depth_(geometry.depth) {}

NamedPixmap::NamedPixmap(NamedPixmap&& other) noexcept
    : connection_(other.connection_),
      id_(std::exchange(other.id_, XCB_NONE)),
      width_(other.width_),
      height_(other.height_),
      depth_(other.depth_) {}

NamedPixmap& NamedPixmap::operator=(NamedPixmap&& other) noexcept {
    std::swap(connection_, other.connection_);
    std::swap(id_, other.id_);
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    std::swap(depth_, other.depth_);
    return *this;
}

NamedPixmap::~NamedPixmap() {
    if (id_ != XCB_NONE) xcb_free_pixmap(connection_->get(), id_);
}

}  // namespace platform

#pragma once

#include "Platform/Xcb/XcbConnection.hpp"

#include <optional>

namespace platform {

/// The contents that Composite keeps of one window, under a name of our own. Once the window is resized or
/// shown again it has other contents, and these stay as they were.
class NamedPixmap {
  public:
    /// Absent when the window has no contents at the moment: hidden, being resized, not redirected, gone.
    static std::optional<NamedPixmap> of(const XcbConnection& connection, xcb_window_t window);
    ~NamedPixmap();
    NamedPixmap(NamedPixmap&& other) noexcept;
    NamedPixmap& operator=(NamedPixmap&& other) noexcept;

    xcb_pixmap_t id() const { return id_; }
    int width() const { return width_; }
    int height() const { return height_; }
    bool hasAlpha() const { return depth_ == 32; }
    /// Whether the pixels are those of `requireKnownPixels`.
    bool hasKnownPixels() const { return depth_ == 24 || depth_ == 32; }

  private:
    NamedPixmap(const XcbConnection& connection, xcb_pixmap_t id, const xcb_get_geometry_reply_t& geometry);

    const XcbConnection* connection_;
    xcb_pixmap_t id_;  // none after a move
    int width_;
    int height_;
    int depth_;
};

}  // namespace platform

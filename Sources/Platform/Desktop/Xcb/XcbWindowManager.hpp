#pragma once

#include "Platform/Desktop/WindowManager.hpp"
#include "Platform/Imaging/PixelRect.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <array>
#include <string>
#include <vector>

namespace platform {

/// Speaks the Extended Window Manager Hints; without a manager that does, asks the server itself.
class XcbWindowManager final : public WindowManager {
  public:
    /// An empty name means $DISPLAY. Throws PlatformError when there is no such server.
    explicit XcbWindowManager(const std::string& displayName = {});

    void activate(std::uint32_t window) override;
    void preferDark(std::uint32_t window) override;
    void skipTaskBar(std::uint32_t window) override;
    Rect workArea(const Rect& screen) override;

  private:
    bool supports(const std::string& hint);
    xcb_timestamp_t serverTime();
    void sendClientMessage(std::uint32_t window, const char* what, const std::array<std::uint32_t, 5>& data);
    /// The edges of the desktop that windows have reserved.
    std::vector<PixelRect> struts();
    std::vector<PixelRect> rectangles(const std::string& property);

    XcbConnection connection_;
    xcb_window_t clockWindow_;  // its property changes tell the server's time; ends with the connection
};

}  // namespace platform

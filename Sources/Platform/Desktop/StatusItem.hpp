#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// What a status item shows.
struct StatusLabel {
    std::string symbol;    ///< name of a picture
    std::string text;      ///< beside it; empty for none
    bool isStill = false;  ///< the picture leaves the text to the tooltip

    friend bool operator==(const StatusLabel&, const StatusLabel&) = default;
};

/// A square picture: rows from the top, each pixel 0xAARRGGBB, premultiplied with its alpha.
struct StatusPicture {
    int side = 0;  ///< pixels
    std::vector<std::uint32_t> pixels;
};

/// The program's place in the desktop's tray. Main thread.
class StatusItem {
  public:
    virtual ~StatusItem() = default;
    /// Trays have room for a square only, so the label becomes one picture.
    virtual void setLabel(const StatusLabel& label) = 0;
    /// Whether there is a tray that shows it; it comes and goes by itself as trays do.
    virtual bool isShown() const = 0;
    /// Where it is, in points with the origin at the top left of the desktop, y down; absent when not shown,
    /// while the tray is still taking it in, and when the tray does not tell.
    virtual std::optional<Rect> frame() const = 0;
    /// The item is a part of the desktop's own panel, and so of every picture of the screen.
    virtual bool isDrawnByDesktop() const = 0;
};

/// A line of the item's menu.
struct StatusMenuItem {
    std::string title;
    std::function<void()> chosen;
};

/// How a status item looks and what it does. All are called on the main thread.
struct StatusItemActions {
    std::function<StatusPicture(const StatusLabel&, int side)> draw;
    std::function<void()> clicked;
    /// Asked for whenever the label changes and before the menu is shown; the same number of lines each time.
    std::function<std::vector<StatusMenuItem>()> menu;
    /// A tray came or went, later than the item was made.
    std::function<void()> shownChanged;
};

class StatusItemService {
  public:
    virtual ~StatusItemService() = default;
    virtual std::unique_ptr<StatusItem> makeStatusItem(std::string title, StatusItemActions actions) = 0;
};

}  // namespace platform

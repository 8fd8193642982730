#include "Platform/Capture/Xcb/EmbeddedWindows.hpp"

#include "Platform/Capture/Xcb/WindowOwner.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace platform {
namespace {

/// No bar is thicker; the windows within those of other programs are not looked through.
constexpr int thickestBar = 160;
/// How deep in a bar its tray may be.
constexpr int deepest = 8;
/// What a bar may have around its only icon.
constexpr int padding = 12;
/// How far beside an icon the bar's own pixels are taken from.
constexpr int beside = 2;

}  // namespace

EmbeddedWindows::EmbeddedWindows(XcbConnection& connection,
                                 const std::vector<RunningApplication>& applications)
    : connection_(connection), applications_(applications) {}

bool EmbeddedWindows::Embedded::isAlone() const {
    return runsAcross() ? bar.bounds.width <= bounds.width + 2 * padding
                        : bar.bounds.height <= bounds.height + 2 * padding;
}

void EmbeddedWindows::search(const TopLevel& bar, xcb_window_t window, int depth) {
    for (const xcb_window_t child : childrenOf(connection_, window)) {
        if (isAnyOf(applicationOf(connection_, child), applications_))
            found_.push_back({child, bar, {}});
        else if (depth < deepest)
            search(bar, child, depth + 1);
    }
}

bool EmbeddedWindows::locate(Embedded& embedded, const std::vector<TopLevel>& stack) const {
    const auto bar = std::ranges::find(stack, embedded.bar.window, &TopLevel::window);
    if (bar == stack.end() || !bar->isShown) return false;
    xcb_connection_t* c = connection_.get();
    const auto geometry = xcb_get_geometry(c, embedded.window);
    const auto corner = xcb_translate_coordinates(c, embedded.window, connection_.root(), 0, 0);
    const auto size = connection_.reply(xcb_get_geometry_reply, geometry);
    const auto place = connection_.reply(xcb_translate_coordinates_reply, corner);
    if (!size || !place) return false;
    embedded.bar = *bar;
    embedded.bounds =
        PixelRect{place->dst_x, place->dst_y, size->width, size->height}.intersected(bar->bounds);
    return !embedded.bounds.isEmpty();
}

void EmbeddedWindows::update(const std::vector<TopLevel>& stack,
                             const std::function<bool(const TopLevel&)>& isOthers) {
    if (isStale_) {
        isStale_ = false;
        found_.clear();
        for (const TopLevel& each : stack)
            if (each.isShown && std::min(each.bounds.width, each.bounds.height) <= thickestBar &&
                isOthers(each))
                search(each, each.window, 0);
    }
    std::erase_if(found_, [&](Embedded& embedded) { return !locate(embedded, stack); });
}

std::vector<PixelRect> EmbeddedWindows::surroundings() const {
    std::vector<PixelRect> areas;
    for (const Embedded& each : found_) {
        const int x = each.runsAcross() ? beside : 0, y = each.runsAcross() ? 0 : beside;
        const PixelRect& at = each.bounds;
        areas.push_back(each.isAlone()
                            ? each.bar.bounds
                            : PixelRect{at.x - x, at.y - y, at.width + 2 * x, at.height + 2 * y}.intersected(
                                  each.bar.bounds));
    }
    return areas;
}

bool EmbeddedWindows::isInside(xcb_window_t bar, const PixelRect& box) const {
    return std::ranges::any_of(
        found_, [&](const Embedded& each) { return each.bar.window == bar && each.bounds.contains(box); });
}

bool EmbeddedWindows::isForOneAlone(xcb_window_t bar) const {
    return std::ranges::any_of(
        found_, [&](const Embedded& each) { return each.bar.window == bar && each.isAlone(); });
}

void EmbeddedWindows::cover(xcb_window_t bar, const PixelRect& part, const Plane& picture, int originX,
                            int originY) const {
    const auto pixel = [&](int x, int y) {
        return picture.data + static_cast<std::ptrdiff_t>(y - originY) * picture.stride + (x - originX) * 4;
    };
    for (const Embedded& each : found_) {
        if (each.bar.window != bar || !part.contains(each.bounds)) continue;
        const PixelRect& at = each.bounds;
        const bool isAcross = each.runsAcross();
        // What is before it is the bar's own in every tray that fills up from its beginning.
        const int before = (isAcross ? at.x : at.y) - beside,
                  after = (isAcross ? at.maxX() : at.maxY()) + beside - 1;
        const bool isBefore = before >= (isAcross ? part.x : part.y);
        const int from = isBefore ? before : after;
        if (!isBefore && after >= (isAcross ? part.maxX() : part.maxY())) continue;
        for (int y = at.y; y < at.maxY(); ++y)
            for (int x = at.x; x < at.maxX(); ++x)
                std::memcpy(pixel(x, y), isAcross ? pixel(from, y) : pixel(x, from), sizeof(std::uint32_t));
    }
}

}  // namespace platform

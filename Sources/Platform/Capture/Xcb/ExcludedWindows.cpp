#include "Platform/Capture/Xcb/ExcludedWindows.hpp"

#include "Platform/Capture/Xcb/CaptureSource.hpp"
#include "Platform/Capture/Xcb/WindowOwner.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include <xcb/composite.h>
#include <xcb/shape.h>

namespace platform {

namespace {

/// How long a window that has gone from a place may still be seen there: until the compositing manager has
/// drawn the screen again, or the application beneath what was uncovered.
constexpr std::chrono::milliseconds afterimage{250};
/// Places vacated within this time and next to each other, by a window being dragged say, count as one.
constexpr std::chrono::milliseconds oneMovement{100};
/// How far beyond a window the shadow reaches that a compositing manager draws around it, pixels.
constexpr int shadowReach = 32;

}  // namespace

ExcludedWindows::ExcludedWindows(XcbConnection& connection, std::vector<RunningApplication> applications)
    : connection_(connection),
      applications_(std::move(applications)),
      stack_(connection),
      embedded_(connection, applications_),
      backdrop_(connection) {
    const bool canCompose = connection.extension(xcb_composite_id) != nullptr &&
                            connection.reply(xcb_composite_query_version_reply,
                                             xcb_composite_query_version(connection.get(), 0, 4));
    if (!canCompose && !connection.isBroken())
        throw PlatformError("ScreenCapture", serverLacks,
                            "The X server of display \"" + connection.name() +
                                "\" has no Composite extension, so Cobaltreel's own windows cannot be kept "
                                "out of the picture.");
}

bool ExcludedWindows::isExcluded(xcb_window_t window) const {
    const auto known = kinds_.find(window);
    return known != kinds_.end() && known->second == Kind::leftOut;
}

ExcludedWindows::Kind ExcludedWindows::kindOf(xcb_window_t window) {
    const auto known = kinds_.find(window);
    if (known != kinds_.end()) return known->second;
    const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                              xcb_get_window_attributes(connection_.get(), window));
    Kind kind = Kind::invisible;
    if (attributes && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
        kind = belongsToAny(connection_, window, applications_) ? Kind::leftOut : Kind::shown;
    kinds_.emplace(window, kind);
    return kind;
}

bool ExcludedWindows::handle(const xcb_generic_event_t& event) {
    bool isPainted = false;
    for (const auto& [id, window] : redirected_)
        if (const auto painted = window->handle(event))
            isPainted = isPainted || !embedded_.isInside(id, *painted);
    if (isPainted) return true;
    // The window is at the same place in each event that the stack handles.
    const xcb_window_t window = reinterpret_cast<const xcb_map_notify_event_t&>(event).window;
    if (backdrop_.isProbe(window)) return false;
    const TopLevel* topLevel = isExcluded(window) ? stack_.find(window) : nullptr;
    const PixelRect before = topLevel && topLevel->isShown ? topLevel->bounds : PixelRect{};
    if (!stack_.handle(event)) return false;
    if (event.response_type != XCB_CONFIGURE_NOTIFY) embedded_.invalidate();

    const bool concernsExcluded = isExcluded(window) || !kinds_.contains(window);
    topLevel = stack_.find(window);
    if (!before.isEmpty() && !(topLevel && topLevel->isShown && topLevel->bounds == before)) vacate(before);
    if (topLevel == nullptr) {
        kinds_.erase(window);
        redirected_.erase(window);
    } else if (const auto kept = redirected_.find(window); kept != redirected_.end()) {
        // Here, before the events that report its painting.
        kept->second->update(*topLevel, coveredOf(*topLevel));
    }
    const bool isOfInterest = event.response_type == XCB_MAP_NOTIFY ||
                              event.response_type == XCB_UNMAP_NOTIFY || topLevel == nullptr ||
                              topLevel->isShown;
    if (!isOfInterest) return false;
    if (!concernsExcluded) return !holes_.empty();
    ++revision_;
    return true;
}

void ExcludedWindows::vacate(const PixelRect& box) {
    const auto now = Clock::now();
    const auto isPartOfIt = [&](const Vacated& each) {
        return now - each.since < oneMovement && !each.box.intersected(box).isEmpty();
    };
    const auto movement = std::find_if(vacated_.begin(), vacated_.end(), isPartOfIt);
    if (movement == vacated_.end()) {
        vacated_.push_back({box, now, now});
    } else {
        movement->box = united(movement->box, box);
        movement->last = now;
    }
}

bool ExcludedWindows::hides(const PixelRect& box) const {
    const auto& stack = stack_.bottomToTop();
    for (auto each = stack.rbegin(); each != stack.rend(); ++each) {
        const auto known = kinds_.find(each->window);
        if (!each->isShown || (known != kinds_.end() && known->second == Kind::invisible)) continue;
        if (isExcluded(each->window)) {
            if (each->bounds.contains(box)) return true;
        } else if (!each->bounds.intersected(box).isEmpty()) {
            return embedded_.isInside(each->window, box);
        }
    }
    return false;
}

RectList ExcludedWindows::coveredOf(const TopLevel& topLevel) const {
    RectList covered;
    bool isAbove = false;
    for (const TopLevel& each : stack_.bottomToTop()) {
        if (each.window == topLevel.window) isAbove = true;
        if (!isAbove || !each.isShown || !isExcluded(each.window)) continue;
        if (each.bounds.intersected(topLevel.bounds).isEmpty()) continue;
        for (const PixelRect& part : boundingShape(connection_, each))
            if (const PixelRect common =
                    part.translated(each.bounds.x, each.bounds.y).intersected(topLevel.bounds);
                !common.isEmpty())
                covered.push_back(common);
    }
    return covered;
}

void ExcludedWindows::prepare(const PixelRect& area) {
    area_ = area;
    holes_.clear();
    int largest = 0;
    std::optional<bool> composited;  // asked only when there is something to leave out
    const auto leaveOut = [&](const PixelRect& box) {
        if (!composited) composited = isComposited(connection_);
        const int reach = *composited ? shadowReach : 0;
        const PixelRect hole =
            PixelRect{box.x - reach, box.y - reach, box.width + 2 * reach, box.height + 2 * reach}
                .intersected(area);
        if (hole.isEmpty()) return;
        holes_.push_back(hole);
        largest = std::max(largest, hole.width * hole.height);
    };
    for (const TopLevel& each : stack_.bottomToTop()) {
        if (!each.isShown) continue;
        if (kindOf(each.window) == Kind::leftOut) leaveOut(each.bounds);
    }
    embedded_.update(stack_.bottomToTop(),
                     [this](const TopLevel& each) { return kindOf(each.window) == Kind::shown; });
    for (const PixelRect& place : embedded_.surroundings())
        if (const PixelRect hole = place.intersected(area); !hole.isEmpty()) {
            holes_.push_back(hole);
            largest = std::max(largest, hole.width * hole.height);
        }
    std::erase_if(vacated_,
                  [now = Clock::now()](const Vacated& each) { return now - each.last > afterimage; });
    for (const Vacated& each : vacated_) leaveOut(each.box);
    if (holes_.empty()) {
        redirected_.clear();
        scratch_.reset();
        return;
    }

    const std::size_t bytes = static_cast<std::size_t>(largest) * 4;
    if (!scratch_ || scratch_->segmentBytes() < bytes)
        scratch_ = std::make_unique<ShmBufferPool>(connection_, bytes, 1);
    isTranslucent_ = composited.value_or(false);

    for (const TopLevel& each : stack_.bottomToTop()) {
        const bool isNeeded =
            each.isShown && kindOf(each.window) == Kind::shown && !redirected_.contains(each.window) &&
            std::any_of(holes_.begin(), holes_.end(),
                        [&](const PixelRect& hole) { return !each.bounds.intersected(hole).isEmpty(); });
        if (isNeeded)
            redirected_.emplace(each.window,
                                std::make_unique<RedirectedWindow>(connection_, each, coveredOf(each)));
    }
    for (const auto& [id, window] : redirected_) window->clearDamage();
}

bool ExcludedWindows::compose(const Plane& picture) {
    return std::all_of(holes_.begin(), holes_.end(),
                       [&](const PixelRect& hole) { return composeHole(hole, picture); });
}

bool ExcludedWindows::composeHole(const PixelRect& hole, const Plane& picture) {
    for (const auto& [id, window] : redirected_)
        if (window->isWaitingFor(hole)) return false;
    backdrop_.draw(hole, picture, area_.x, area_.y, *scratch_, isTranslucent_);
    for (const TopLevel& each : stack_.bottomToTop()) {
        if (!each.isShown || kindOf(each.window) != Kind::shown) continue;
        const auto window = redirected_.find(each.window);
        if (window == redirected_.end()) {
            if (!each.bounds.intersected(hole).isEmpty()) return false;  // shown since; prepare again
            continue;
        }
        if (embedded_.isForOneAlone(each.window)) continue;
        if (!window->second->draw(hole, picture, area_.x, area_.y, *scratch_, isTranslucent_)) return false;
        embedded_.cover(each.window, hole, picture, area_.x, area_.y);
    }
    return true;
}

}  // namespace platform

#pragma once

#include "Platform/Desktop/Desktop.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace platform {

/// What is known of a screen that another program shares as a stream of pictures: its place on the desktop
/// and the pointer on it. Written by the stream's receiver, read by the desktop. Any thread.
class CastScreen {
  public:
    struct Place {
        std::uint32_t displayID = 0;
        Rect frame;  ///< points, origin at the top left of the desktop, y down
        double scale = 1;
        bool isWindow = false;
    };
    /// Pixels of the recorded picture, origin at its top left.
    struct Spot {
        double x = 0;
        double y = 0;
    };

    /// What is shared now; absent when nothing is. The pointer is unknown from then on.
    void setPlace(const std::optional<Place>& place) {
        const std::lock_guard lock(mutex_);
        place_ = place;
        pointers_.clear();
    }
    /// Where the pointer was at a time of the host clock, seconds, not before the one told last. Absent: it
    /// is elsewhere, or nobody tells where.
    void setPointer(const std::optional<Spot>& pointer, double time) {
        constexpr std::size_t maxRemembered = 64;
        const std::lock_guard lock(mutex_);
        pointers_.push_back({time, pointer});
        if (pointers_.size() > maxRemembered) pointers_.pop_front();
    }
    std::optional<Place> place() const {
        const std::lock_guard lock(mutex_);
        return place_;
    }
    /// Where the pointer was at that time, as far as it is known by now.
    std::optional<Spot> pointer(double time) const {
        const std::lock_guard lock(mutex_);
        for (auto known = pointers_.rbegin(); known != pointers_.rend(); ++known)
            if (known->time <= time) return known->spot;
        return pointers_.empty() ? std::nullopt : pointers_.front().spot;
    }

  private:
    struct Known {
        double time = 0;
        std::optional<Spot> spot;
    };
    mutable std::mutex mutex_;
    std::optional<Place> place_;
    std::deque<Known> pointers_;
};

}  // namespace platform

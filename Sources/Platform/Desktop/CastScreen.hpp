#pragma once

#include "Platform/Desktop/Desktop.hpp"

#include <cstdint>
#include <mutex>
#include <optional>

namespace platform {

/// What is known of a screen that another program shares as a stream of pictures: its place on the desktop
/// and the pointer on it. Written by whoever receives the stream, read by whoever asks for the desktop. Any
/// thread.
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
        pointer_.reset();
    }
    /// Absent: the pointer is elsewhere, or nobody tells where.
    void setPointer(const std::optional<Spot>& pointer) {
        const std::lock_guard lock(mutex_);
        pointer_ = pointer;
    }
    std::optional<Place> place() const {
        const std::lock_guard lock(mutex_);
        return place_;
    }
    std::optional<Spot> pointer() const {
        const std::lock_guard lock(mutex_);
        return pointer_;
    }

  private:
    mutable std::mutex mutex_;
    std::optional<Place> place_;
    std::optional<Spot> pointer_;
};

}  // namespace platform

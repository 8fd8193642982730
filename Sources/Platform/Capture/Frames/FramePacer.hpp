#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace platform {

/// When frames may be taken: at most one in each slot of a steady grid that begins with the first frame.
/// The grid never shifts, so a source that draws at the same rate is met once in every slot, early or late
/// by whatever its jitter is.
class FramePacer {
  public:
    /// Slots between pictures that differ in the pointer alone. Such a picture costs the encoder almost as
    /// much as a new one, and an export shows thirty a second.
    static constexpr int slotsOfPointer = 2;

    /// Seconds of one slot; 0 for no limit.
    explicit FramePacer(double interval) : interval_(interval) {}

    /// The earliest time of the host clock at which the next frame may be taken, so many slots after the
    /// last.
    double nextTime(int slots = 1) const {
        return lastSlot_ < 0 ? 0 : origin_ + static_cast<double>(lastSlot_ + slots) * interval_;
    }

    /// A frame is taken at `now`, which is not before `nextTime`.
    void take(double now) {
        if (lastSlot_ < 0) {
            origin_ = now;
            lastSlot_ = 0;
        } else if (interval_ > 0) {
            const auto slot = static_cast<std::int64_t>(std::floor((now - origin_) / interval_));
            lastSlot_ = std::max(lastSlot_ + 1, slot);
        } else {
            origin_ = now;
        }
    }

  private:
    double interval_;
    double origin_ = 0;
    std::int64_t lastSlot_ = -1;
};

}  // namespace platform

#pragma once

#include "Platform/Capture/Frames/RectList.hpp"

#include <cstddef>
#include <limits>
#include <utility>

namespace platform {

/// What has changed, as a few rectangles that do not overlap: all the pixels that were added, and some more
/// where many small places lie scattered.
class DirtyArea {
  public:
    void add(PixelRect rect) {
        if (rect.isEmpty()) return;
        for (;;) {
            std::size_t nearest = rects_.size();
            auto minGrowth = std::numeric_limits<std::int64_t>::max();
            for (std::size_t i = 0; i < rects_.size(); ++i) {
                if (rects_[i].contains(rect)) return;
                const std::int64_t growth = pixelCount(united(rects_[i], rect)) - pixelCount(rects_[i]);
                const bool isMet = !rects_[i].intersected(rect).isEmpty();
                if (isMet || growth < minGrowth) {
                    nearest = i;
                    minGrowth = growth;
                }
                if (isMet) break;
            }
            const bool overlaps = nearest < rects_.size() && !rects_[nearest].intersected(rect).isEmpty();
            if (!overlaps && rects_.size() < limit) break;
            // One with what it meets, or with what lies nearest, which may make it meet others.
            rect = united(rect, rects_[nearest]);
            rects_[nearest] = rects_.back();
            rects_.pop_back();
        }
        rects_.push_back(rect);
    }
    void add(const RectList& area) {
        for (const PixelRect& each : area) add(each);
    }

    bool isEmpty() const { return rects_.empty(); }
    const RectList& rects() const { return rects_; }
    RectList take() { return std::exchange(rects_, {}); }
    void clear() { rects_.clear(); }

  private:
    static constexpr std::size_t limit = 12;  // each costs a request of its own
    RectList rects_;
};

}  // namespace platform

#include "Platform/Capture/Frames/FramePool.hpp"

#include <algorithm>
#include <atomic>

namespace platform {

struct FramePool::Frame {
    Frame(PixelFormat format, const PixelRect& whole) : buffer(format, whole.width, whole.height) {
        stale.add(whole);
    }

    PixelBuffer buffer;
    DirtyArea stale;
    std::atomic<bool> isHeld{false};
};

FramePool::FramePool(PixelFormat format, int width, int height, std::size_t limit)
    : format_(format), whole_{0, 0, width, height}, limit_(limit) {}

bool FramePool::hasRoom() const {
    return frames_.size() < limit_ ||
           std::any_of(frames_.begin(), frames_.end(), [](const auto& frame) { return !frame->isHeld; });
}

void FramePool::change(const PixelRect& area) {
    const int left = area.x & ~1, top = area.y & ~1;
    const PixelRect even{left, top, ((area.maxX() + 1) & ~1) - left, ((area.maxY() + 1) & ~1) - top};
    for (const auto& frame : frames_) frame->stale.add(even.intersected(whole_));
}

ConstPixelBufferRef FramePool::take(const std::function<void(PixelBuffer&, const PixelRect&)>& draw) {
    std::shared_ptr<Frame> chosen;
    for (const auto& frame : frames_)
        if (!frame->isHeld.load(std::memory_order_acquire) &&
            (!chosen || pixelCount(frame->stale.rects()) < pixelCount(chosen->stale.rects())))
            chosen = frame;
    if (!chosen) {
        if (frames_.size() >= limit_) return nullptr;
        chosen = frames_.emplace_back(std::make_shared<Frame>(format_, whole_));
    }
    for (const PixelRect& area : chosen->stale.rects()) draw(chosen->buffer, area);
    chosen->stale.clear();
    chosen->isHeld = true;
    return {&chosen->buffer,
            [chosen](const PixelBuffer*) { chosen->isHeld.store(false, std::memory_order_release); }};
}

}  // namespace platform

#pragma once

#include "Platform/Capture/Frames/DirtyArea.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// Frames of one shape that are handed out again once nobody holds them. Each remembers what has changed
/// since it was last up to date, so that only this has to be drawn into it.
class FramePool {
  public:
    FramePool(PixelFormat format, int width, int height, std::size_t limit);

    /// Whether a frame can be had: fewer than `limit` are held.
    bool hasRoom() const;
    /// A part of the picture is another one from now on.
    void change(const PixelRect& area);
    /// A frame that `draw` has brought up to date, part by part; null when all are held. Parts begin at even
    /// coordinates and end at such or at the frame's edge.
    ConstPixelBufferRef take(const std::function<void(PixelBuffer&, const PixelRect&)>& draw);

  private:
    struct Frame;

    PixelFormat format_;
    PixelRect whole_;
    std::size_t limit_;
    std::vector<std::shared_ptr<Frame>> frames_;
};

}  // namespace platform

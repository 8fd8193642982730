#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/Frames/CursorImage.hpp"
#include "Platform/Capture/Frames/FramePool.hpp"

#include <cstdint>
#include <memory>
#include <utility>

namespace platform {

/// Makes frames of the configured size and format of a bgra picture that changes in parts. What has not
/// changed is not converted again.
class FrameMaker {
  public:
    explicit FrameMaker(const StreamConfiguration& configuration);

    /// The picture has this size from now on; all of it has changed.
    void setSize(int width, int height);
    /// Of the picture, in its pixels.
    void change(const PixelRect& area);
    /// Whether fewer frames are held than may be; else the one that is due counts as dropped.
    bool claimRoom();

    /// The pointer, pointing at a pixel of the picture.
    struct Cursor {
        const CursorImage* image = nullptr;  ///< none is shown
        int x = 0;
        int y = 0;
    };
    /// The next frame, with the pointer drawn in; `picture`, of the size that was set, is only read. Null
    /// when all the frames in flight are held.
    ConstPixelBufferRef make(const Plane& picture, const Cursor& cursor);
    /// Frames that were dropped since this was asked last.
    std::uint32_t takeDropped() { return std::exchange(dropped_, 0); }

    /// Where the picture lies in the frames.
    PixelRect place() const;

  private:
    bool isFitted() const;
    void drawFitted(const Plane& picture, const Cursor& cursor);
    void drawCursor(const Plane& picture, const Cursor& cursor, PixelBuffer& frame);
    void convert(const Plane& picture, const PixelRect& area, PixelBuffer& frame) const;

    const int frameWidth_;
    const int frameHeight_;
    FramePool frames_;
    int width_ = 0;
    int height_ = 0;
    std::uint32_t dropped_ = 0;
    PixelRect cursorPlace_;  // in the picture, as drawn last
    std::vector<std::uint8_t> beneathCursor_;
    std::unique_ptr<PixelBuffer> whole_;   // a picture to be fitted, with the pointer
    std::unique_ptr<PixelBuffer> fitted_;  // the same, fitted
    bool isFittedStale_ = true;
};

}  // namespace platform

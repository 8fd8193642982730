#pragma once

#include "Platform/Capture/Frames/DirtyArea.hpp"
#include "Platform/Capture/Frames/FrameMaker.hpp"
#include "Platform/Capture/PipeWire/CastPicture.hpp"
#include "Platform/Capture/PipeWire/CastPointer.hpp"
#include "Platform/Desktop/CastScreen.hpp"

#include <cstdint>
#include <memory>

namespace platform::pipewire {

/// Makes a compositor's pictures, whose size may change, into frames of one size.
class CastFrames {
  public:
    explicit CastFrames(const StreamConfiguration& configuration);

    /// This picture stands from now on; all of it has changed when it does not say what did.
    void show(const CastPicture& picture);
    /// Whether fewer frames are held than may be; else the one that is due counts as dropped.
    bool claimRoom() { return maker_.claimRoom(); }
    /// A frame of the picture that stands, which is in memory whose `dmaBuf` may be a DMA-BUF's descriptor
    /// (else -1). Null when all frames are held.
    ConstPixelBufferRef make(const CastPicture& picture, const CastPointer* pointer, int dmaBuf);
    std::uint32_t takeDropped() { return maker_.takeDropped(); }

    /// Where a pixel of the picture that stands is in the frames.
    CastScreen::Spot spotOf(int x, int y) const;

  private:
    FrameMaker maker_;
    std::uint32_t format_ = 0;
    PixelRect part_;  // of the stream, that the picture is
    // For pixels that are not bgra: the picture made such, and where it is not up to date.
    std::unique_ptr<PixelBuffer> converted_;
    DirtyArea stale_;
};

}  // namespace platform::pipewire

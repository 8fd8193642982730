#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/Xcb/PointerOverlay.hpp"
#include "Platform/Capture/Xcb/SharedFrames.hpp"

#include <memory>
#include <optional>

namespace platform {

/// A picture of the screen with the host-clock time at which it was grabbed: the clock is read just before
/// the request leaves, after which the server copies the pixels in one step, so the picture is never older
/// than its time and newer by a fraction of a millisecond.
struct GrabbedPicture {
    ConstPixelBufferRef picture;
    MediaTime time;
};

/// Fills frames of the configured size from drawables.
class FrameGrabber {
  public:
    /// Both references are kept.
    FrameGrabber(const XcbConnection& connection, const StreamConfiguration& configuration);

    /// A picture on its way: memory for `plane.width` × `plane.height` pixels.
    struct Draft {
        SegmentLease memory;
        Plane plane;
        MediaTime time;
    };

    /// Room for a picture; absent when all the frames in flight are held.
    std::optional<Draft> begin(int width, int height);
    /// Copies a part of a drawable, of the draft's size, and with it asks where the pointer is (which may be
    /// null). False when the server refused.
    bool read(Draft& draft, xcb_drawable_t drawable, int x, int y, PointerOverlay* pointer);
    /// The finished frame; absent when all the frames in flight are held.
    std::optional<GrabbedPicture> finish(Draft draft);

  private:
    const XcbConnection& connection_;
    const StreamConfiguration& configuration_;
    std::unique_ptr<SharedFrames> segments_;
    std::unique_ptr<PixelBufferPool> fitted_;
};

}  // namespace platform

#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/Frames/FrameMaker.hpp"
#include "Platform/Capture/Xcb/PointerOverlay.hpp"
#include "Platform/Capture/Xcb/ScreenImage.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// A picture of the screen with the host-clock time at which it was grabbed: the clock is read just before
/// the request leaves, after which the server copies the pixels in one step, so the picture is never older
/// than its time and newer by a fraction of a millisecond.
struct GrabbedPicture {
    ConstPixelBufferRef picture;
    MediaTime time;
    std::uint32_t droppedBefore = 0;
};

/// Keeps an image of a drawable, and makes frames of it. What has not changed is neither read nor converted
/// again.
class FrameGrabber {
  public:
    /// The connection is kept.
    FrameGrabber(const XcbConnection& connection, const StreamConfiguration& configuration);

    /// What the image is of has this size from now on; another one makes a new image, black at first.
    void setSize(int width, int height);
    bool hasSize(int width, int height) const;
    /// Whether fewer frames are held than may be; else the picture that is due counts as dropped.
    bool claimRoom() { return frames_.claimRoom(); }

    /// Reads parts of a drawable whose pixel (`x`, `y`) is the image's top left, and with them asks where the
    /// pointer is (which may be null). They are put into the image by `commit`. False when the server
    /// refused.
    bool read(xcb_drawable_t drawable, int x, int y, const RectList& areas, PointerOverlay* pointer);
    void commit();
    /// The image, to be drawn into; `change` says where.
    const Plane& image() const { return image_->plane(); }
    void change(const PixelRect& area) { frames_.change(area); }

    /// The finished frame, with the pointer in it; the image's top left is at (`originX`, `originY`) of the
    /// root. Absent when all the frames in flight are held.
    std::optional<GrabbedPicture> finish(PointerOverlay* pointer, int originX, int originY);

  private:
    const XcbConnection& connection_;
    FrameMaker frames_;
    std::unique_ptr<ScreenImage> image_;
    RectList reading_;
    MediaTime time_;
};

}  // namespace platform

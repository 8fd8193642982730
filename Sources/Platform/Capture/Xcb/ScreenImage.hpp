#pragma once

#include "Platform/Capture/Frames/RectList.hpp"
#include "Platform/Capture/Xcb/ShmBufferPool.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <vector>

namespace platform {

/// A picture of a drawable that is kept up to date part by part: bgra without a meaning in the fourth byte,
/// black at first.
class ScreenImage {
  public:
    ScreenImage(const XcbConnection& connection, int width, int height);

    int width() const { return plane_.width; }
    int height() const { return plane_.height; }
    const Plane& plane() const { return plane_; }

    /// Asks for parts of a drawable whose pixel (`x`, `y`) is the image's top left. `areas` do not overlap
    /// and lie inside the image.
    void request(xcb_drawable_t drawable, int x, int y, const RectList& areas);
    /// Waits for them; false when the server refused. The image is as it was until `commit`.
    bool await();
    /// Puts what was read into the image.
    void commit();

  private:
    struct Part {
        PixelRect area;
        ImageRequest request;
    };

    const XcbConnection& connection_;
    ShmBufferPool memory_;
    SegmentLease shown_, read_;
    Plane plane_;
    std::vector<Part> parts_;
    RectList kept_;         // of the image, when all of it was read
    bool isWhole_ = false;  // one part, which becomes the image without a copy
};

}  // namespace platform

#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <cstdint>
#include <memory>
#include <vector>

namespace platform {

/// Memory that the X server writes pictures into. Shared with the server when both run on one machine and
/// MIT-SHM can pass descriptors (1.2), else plain memory that pictures are copied to.
class ShmSegment;

/// A loan of one segment; giving up the last reference returns it.
using SegmentLease = std::shared_ptr<ShmSegment>;

/// A ring of segments of one size, made when they are first needed. The loans outlive the ring.
class ShmBufferPool {
  public:
    ShmBufferPool(const XcbConnection& connection, std::size_t bytes, std::size_t limit);
    ~ShmBufferPool();
    ShmBufferPool(const ShmBufferPool&) = delete;
    ShmBufferPool& operator=(const ShmBufferPool&) = delete;

    /// A free segment with unspecified contents; null when `limit` of them are out.
    SegmentLease borrow();
    std::size_t segmentBytes() const { return bytes_; }

  private:
    const XcbConnection& connection_;
    std::size_t bytes_;
    std::size_t limit_;
    bool isShared_;
    std::vector<std::shared_ptr<ShmSegment>> segments_;
};

std::uint8_t* memoryOf(const ShmSegment& segment);

/// A request for a picture that is under way.
struct ImageRequest {
    bool isShared = false;
    unsigned int sequence = 0;
    int width = 0;
    int height = 0;
    std::size_t offset = 0;
};

/// Asks for a part of a drawable, as 32-bit pixels without gaps between the rows, `offset` bytes into the
/// memory.
ImageRequest requestImage(const XcbConnection& connection, xcb_drawable_t drawable, int x, int y, int width,
                          int height, const ShmSegment& into, std::size_t offset = 0);
/// Waits for it; false when the server refused (the part is not inside the drawable, the drawable is gone).
bool awaitImage(const XcbConnection& connection, const ImageRequest& request, ShmSegment& into);

/// Throws PlatformError unless pictures of the screen are 32-bit little-endian pixels of 8-bit red, green
/// and blue, the layout of `PixelFormat::bgra`.
void requireKnownPixels(const XcbConnection& connection);

}  // namespace platform

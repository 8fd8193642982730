#include "Platform/Capture/Xcb/FrameGrabber.hpp"

#include "Platform/Capture/Xcb/PictureFit.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <algorithm>

namespace platform {

FrameGrabber::FrameGrabber(const XcbConnection& connection, const StreamConfiguration& configuration)
    : connection_(connection), configuration_(configuration) {}

std::optional<FrameGrabber::Draft> FrameGrabber::begin(int width, int height) {
    const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    if (!segments_ || segments_->segmentBytes() != bytes)
        segments_ = std::make_unique<SharedFrames>(
            connection_, bytes, static_cast<std::size_t>(std::max(1, configuration_.queueDepth)));
    SegmentLease memory = segments_->borrow();
    if (!memory) return std::nullopt;
    const Plane plane{memoryOf(*memory), width * 4, width, height};
    return Draft{std::move(memory), plane, {}};
}

bool FrameGrabber::read(Draft& draft, xcb_drawable_t drawable, int x, int y, PointerOverlay* pointer) {
    draft.time = MediaTime::fromSeconds(HostClock().now(), nanosecondTimescale);
    const ImageRequest request =
        requestImage(connection_, drawable, x, y, draft.plane.width, draft.plane.height, *draft.memory);
    if (pointer != nullptr) pointer->ask();
    const bool isRead = awaitImage(connection_, request, *draft.memory);
    if (pointer != nullptr) pointer->update();
    // What X leaves in the fourth byte is undefined.
    if (isRead) makeOpaque(draft.plane);
    return isRead;
}

std::optional<GrabbedPicture> FrameGrabber::finish(Draft draft) {
    const int width = configuration_.width, height = configuration_.height;
    if (draft.plane.width == width && draft.plane.height == height)
        return GrabbedPicture{
            std::make_shared<const PixelBuffer>(PixelFormat::bgra, width, height,
                                                std::array<Plane, 3>{draft.plane}, std::move(draft.memory)),
            draft.time};
    if (!fitted_)
        fitted_ = std::make_unique<PixelBufferPool>(
            PixelFormat::bgra, width, height,
            static_cast<std::size_t>(std::max(1, configuration_.queueDepth)));
    const PixelBufferRef frame = fitted_->createPixelBuffer();
    if (!frame) return std::nullopt;
    fitPicture(draft.plane, *frame);
    return GrabbedPicture{frame, draft.time};
}

}  // namespace platform

#include "Platform/Capture/Xcb/FrameGrabber.hpp"

#include "Platform/Foundation/Clock.hpp"

#include <utility>

namespace platform {

FrameGrabber::FrameGrabber(const XcbConnection& connection, const StreamConfiguration& configuration)
    : connection_(connection), frames_(configuration) {}

bool FrameGrabber::hasSize(int width, int height) const {
    return image_ && image_->width() == width && image_->height() == height;
}

void FrameGrabber::setSize(int width, int height) {
    if (hasSize(width, height)) return;
    image_ = std::make_unique<ScreenImage>(connection_, width, height);
    reading_.clear();
    frames_.setSize(width, height);
}

bool FrameGrabber::read(xcb_drawable_t drawable, int x, int y, const RectList& areas,
                        PointerOverlay* pointer) {
    time_ = MediaTime::fromSeconds(HostClock().now(), nanosecondTimescale);
    image_->request(drawable, x, y, areas);
    if (pointer != nullptr) pointer->query();
    const bool isRead = image_->await();
    if (pointer != nullptr) pointer->update();
    reading_ = isRead ? areas : RectList{};
    return isRead;
}

void FrameGrabber::commit() {
    image_->commit();
    for (const PixelRect& area : std::exchange(reading_, {})) change(area);
}

std::optional<GrabbedPicture> FrameGrabber::finish(PointerOverlay* pointer, int originX, int originY) {
    FrameMaker::Cursor cursor;
    if (pointer != nullptr) cursor = pointer->cursorIn({originX, originY, image_->width(), image_->height()});
    auto frame = frames_.make(image_->plane(), cursor);
    if (!frame) return std::nullopt;
    return GrabbedPicture{std::move(frame), time_, frames_.takeDropped()};
}

}  // namespace platform

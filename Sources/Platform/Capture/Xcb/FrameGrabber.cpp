#include "Platform/Capture/Xcb/FrameGrabber.hpp"

#include "Platform/Capture/Xcb/PictureFit.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Imaging/RenderContext.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace platform {

namespace {

constexpr int bytesPerPixel = 4;

std::uint8_t* pixelAt(const Plane& bgra, int x, int y) {
    return bgra.data + static_cast<std::ptrdiff_t>(y) * bgra.stride +
           static_cast<std::ptrdiff_t>(x) * bytesPerPixel;
}

/// A part of a picture, as a picture of its own; of i420 ones, from even coordinates on.
PixelBuffer partOf(const PixelBuffer& whole, const PixelRect& part) {
    const auto cut = [&](int index, int shift, int pixelBytes) {
        const Plane& plane = whole.plane(index);
        return Plane{plane.data + static_cast<std::ptrdiff_t>(part.y >> shift) * plane.stride +
                         static_cast<std::ptrdiff_t>(part.x >> shift) * pixelBytes,
                     plane.stride, (part.width + shift) >> shift, (part.height + shift) >> shift};
    };
    const std::array<Plane, 3> planes = whole.format() == PixelFormat::i420
                                            ? std::array{cut(0, 0, 1), cut(1, 1, 1), cut(2, 1, 1)}
                                            : std::array{cut(0, 0, bytesPerPixel), Plane{}, Plane{}};
    return PixelBuffer(whole.format(), part.width, part.height, planes, nullptr, whole.matrix());
}

/// Repeats the last column and row of `filled` in the line beyond, which ends where `part` does. (The chroma
/// of an odd last line belongs to both.)
void repeatLastLines(const Plane& plane, int pixelBytes, const PixelRect& filled, const PixelRect& part) {
    const auto at = [&](int x, int y) {
        return plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride +
               static_cast<std::ptrdiff_t>(x) * pixelBytes;
    };
    if (part.maxX() > filled.maxX())
        for (int y = filled.y; y < filled.maxY(); ++y)
            std::memcpy(at(filled.maxX(), y), at(filled.maxX() - 1, y), static_cast<std::size_t>(pixelBytes));
    if (part.maxY() > filled.maxY())
        std::memcpy(at(part.x, filled.maxY()), at(part.x, filled.maxY() - 1),
                    static_cast<std::size_t>(part.width * pixelBytes));
}

}  // namespace

FrameGrabber::FrameGrabber(const XcbConnection& connection, const StreamConfiguration& configuration)
    : connection_(connection),
      configuration_(configuration),
      frames_(configuration.acceptsPlanar ? PixelFormat::i420 : PixelFormat::bgra, configuration.width,
              configuration.height, static_cast<std::size_t>(std::max(1, configuration.queueDepth))) {}

bool FrameGrabber::claimRoom() {
    const bool hasRoom = frames_.hasRoom();
    if (!hasRoom) ++dropped_;
    return hasRoom;
}

bool FrameGrabber::hasSize(int width, int height) const {
    return image_ && image_->width() == width && image_->height() == height;
}

void FrameGrabber::setSize(int width, int height) {
    if (hasSize(width, height)) return;
    image_ = std::make_unique<ScreenImage>(connection_, width, height);
    reading_.clear();
    pointerPlace_ = {};
    change({0, 0, width, height});
    frames_.change({0, 0, configuration_.width, configuration_.height});
}

bool FrameGrabber::read(xcb_drawable_t drawable, int x, int y, const RectList& areas,
                        PointerOverlay* pointer) {
    time_ = MediaTime::fromSeconds(HostClock().now(), nanosecondTimescale);
    image_->request(drawable, x, y, areas);
    if (pointer != nullptr) pointer->ask();
    const bool isRead = image_->await();
    if (pointer != nullptr) pointer->update();
    reading_ = isRead ? areas : RectList{};
    return isRead;
}

void FrameGrabber::commit() {
    image_->commit();
    for (const PixelRect& area : std::exchange(reading_, {})) change(area);
}

void FrameGrabber::change(const PixelRect& area) {
    if (isFitted()) {
        isFittedStale_ = true;
        frames_.change({0, 0, configuration_.width, configuration_.height});
    } else {
        frames_.change(area);
    }
}

bool FrameGrabber::isFitted() const {
    const auto isTakenOver = [](int side, int wanted) { return wanted == side + side % 2 || wanted == side; };
    return !isTakenOver(image_->width(), configuration_.width) ||
           !isTakenOver(image_->height(), configuration_.height);
}

std::optional<GrabbedPicture> FrameGrabber::finish(PointerOverlay* pointer, int originX, int originY) {
    change(pointerPlace_);
    if (pointer != nullptr) {
        pointerPlace_ = pointer->bounds()
                            .translated(-originX, -originY)
                            .intersected({0, 0, image_->width(), image_->height()});
        change(pointerPlace_);
        savePixels(pointerPlace_);
        pointer->draw(image_->plane(), originX, originY);
    }
    const bool fitted = isFitted();
    ConstPixelBufferRef frame = frames_.take([&](PixelBuffer& target, const PixelRect& area) {
        if (fitted && std::exchange(isFittedStale_, false)) {
            if (!fitted_)
                fitted_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, configuration_.width,
                                                        configuration_.height);
            fitPicture(image_->plane(), *fitted_);
        }
        convert(target, area);
    });
    if (pointer != nullptr) restorePixels(pointerPlace_);
    if (!frame) return std::nullopt;
    return GrabbedPicture{std::move(frame), time_, std::exchange(dropped_, 0)};
}

void FrameGrabber::convert(PixelBuffer& frame, const PixelRect& area) const {
    const Plane& image = isFitted() ? fitted_->plane() : image_->plane();
    const PixelBuffer source(PixelFormat::bgra, image.width, image.height, {image}, nullptr);
    const PixelRect filled = area.intersected({0, 0, image.width, image.height});
    const PixelBuffer from = partOf(source, filled);
    PixelBuffer to = partOf(frame, filled);
    convertPixels(from, to);
    const bool isPlanar = frame.format() == PixelFormat::i420;
    // What X leaves in the fourth byte is undefined; planar pictures do not have one.
    if (!isPlanar) makeOpaque(to.plane());
    repeatLastLines(frame.plane(), isPlanar ? 1 : bytesPerPixel, filled, area);
}

void FrameGrabber::savePixels(const PixelRect& area) {
    const std::size_t rowBytes = static_cast<std::size_t>(area.width) * bytesPerPixel;
    beneathPointer_.resize(rowBytes * static_cast<std::size_t>(area.height));
    for (int y = 0; y < area.height; ++y)
        std::memcpy(beneathPointer_.data() + static_cast<std::size_t>(y) * rowBytes,
                    pixelAt(image_->plane(), area.x, area.y + y), rowBytes);
}

void FrameGrabber::restorePixels(const PixelRect& area) {
    const std::size_t rowBytes = static_cast<std::size_t>(area.width) * bytesPerPixel;
    for (int y = 0; y < area.height; ++y)
        std::memcpy(pixelAt(image_->plane(), area.x, area.y + y),
                    beneathPointer_.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
}

}  // namespace platform

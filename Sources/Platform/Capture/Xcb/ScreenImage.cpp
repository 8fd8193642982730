#include "Platform/Capture/Xcb/ScreenImage.hpp"

#include <cstring>

#include <libyuv.h>

namespace platform {

namespace {

constexpr std::size_t bytesPerPixel = 4;
/// Each part is a request of its own; more of them cost more than a picture of everything.
constexpr std::size_t maxParts = 64;

std::size_t bytesOf(const PixelRect& area) {
    return static_cast<std::size_t>(pixelCount(area)) * bytesPerPixel;
}

}  // namespace

ScreenImage::ScreenImage(const XcbConnection& connection, int width, int height)
    : connection_(connection),
      memory_(connection, bytesOf({0, 0, width, height}), 2),
      shown_(memory_.borrow()),
      read_(memory_.borrow()),
      plane_{memoryOf(*shown_), width * static_cast<int>(bytesPerPixel), width, height} {}

void ScreenImage::request(xcb_drawable_t drawable, int x, int y, const RectList& areas) {
    const PixelRect whole{0, 0, width(), height()};
    parts_.clear();
    kept_.clear();
    isWhole_ = 2 * pixelCount(areas) > pixelCount(whole) || areas.size() > maxParts;
    if (isWhole_) kept_ = without(RectList{whole}, areas);
    std::size_t offset = 0;
    for (const PixelRect& area : isWhole_ ? RectList{whole} : areas) {
        parts_.push_back({area, requestImage(connection_, drawable, x + area.x, y + area.y, area.width,
                                             area.height, *read_, offset)});
        offset += bytesOf(area);
    }
}

bool ScreenImage::await() {
    bool isRead = true;
    for (const Part& part : parts_) isRead = awaitImage(connection_, part.request, *read_) && isRead;
    if (!isRead) parts_.clear();
    return isRead;
}

void ScreenImage::commit() {
    const auto copy = [](const std::uint8_t* from, int fromStride, std::uint8_t* to, int toStride,
                         const PixelRect& area) {
        libyuv::CopyPlane(from, fromStride, to, toStride, area.width * static_cast<int>(bytesPerPixel),
                          area.height);
    };
    const auto at = [this](std::uint8_t* memory, const PixelRect& area) {
        return memory + static_cast<std::ptrdiff_t>(area.y) * plane_.stride +
               static_cast<std::ptrdiff_t>(area.x) * static_cast<int>(bytesPerPixel);
    };
    if (parts_.empty()) return;
    if (isWhole_) {
        std::swap(shown_, read_);
        plane_.data = memoryOf(*shown_);
        for (const PixelRect& area : kept_)
            copy(at(memoryOf(*read_), area), plane_.stride, at(plane_.data, area), plane_.stride, area);
    } else {
        for (const Part& part : parts_)
            copy(memoryOf(*read_) + part.request.offset, part.area.width * static_cast<int>(bytesPerPixel),
                 at(plane_.data, part.area), plane_.stride, part.area);
    }
    parts_.clear();
}

}  // namespace platform

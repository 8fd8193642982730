#include "Platform/Capture/Frames/FrameMaker.hpp"

#include "Platform/Capture/Frames/Letterbox.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace platform {

namespace {

constexpr int bgraBytes = 4;

Plane partOf(const Plane& whole, const PixelRect& part) {
    return {whole.data + static_cast<std::ptrdiff_t>(part.y) * whole.stride +
                static_cast<std::ptrdiff_t>(part.x) * bgraBytes,
            whole.stride, part.width, part.height};
}

/// A part of a picture, as a picture of its own; of i420 ones, from even coordinates on.
PixelBuffer partOf(const PixelBuffer& whole, const PixelRect& part) {
    const auto cut = [&](int index, int shift) {
        const Plane& plane = whole.plane(index);
        return Plane{
            plane.data + static_cast<std::ptrdiff_t>(part.y >> shift) * plane.stride + (part.x >> shift),
            plane.stride, (part.width + shift) >> shift, (part.height + shift) >> shift};
    };
    const std::array<Plane, 3> planes = whole.format() == PixelFormat::i420
                                            ? std::array{cut(0, 0), cut(1, 1), cut(2, 1)}
                                            : std::array{partOf(whole.plane(), part), Plane{}, Plane{}};
    return PixelBuffer(whole.format(), part.width, part.height, planes, nullptr, whole.matrix());
}

void copyPixels(const Plane& from, const Plane& to) {
    for (int y = 0; y < to.height; ++y)
        std::memcpy(to.data + static_cast<std::ptrdiff_t>(y) * to.stride,
                    from.data + static_cast<std::ptrdiff_t>(y) * from.stride,
                    static_cast<std::size_t>(to.width) * bgraBytes);
}

void convertPart(const Plane& from, PixelBuffer&& to) {
    const PixelBuffer source(PixelFormat::bgra, from.width, from.height, {from}, nullptr);
    convertPixels(source, to);
    // What a display server leaves in the fourth byte is undefined; planar pictures do not have one.
    if (to.format() == PixelFormat::bgra) makeOpaque(to.plane());
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

FrameMaker::FrameMaker(const StreamConfiguration& configuration)
    : frameWidth_(configuration.width),
      frameHeight_(configuration.height),
      frames_(configuration.acceptsPlanar ? PixelFormat::i420 : PixelFormat::bgra, configuration.width,
              configuration.height, static_cast<std::size_t>(std::max(1, configuration.queueDepth))) {}

bool FrameMaker::claimRoom() {
    const bool hasRoom = frames_.hasRoom();
    if (!hasRoom) ++dropped_;
    return hasRoom;
}

void FrameMaker::setSize(int width, int height) {
    width_ = width;
    height_ = height;
    cursorPlace_ = {};
    change({0, 0, width, height});
    frames_.change({0, 0, frameWidth_, frameHeight_});
}

PixelRect FrameMaker::place() const { return letterboxed(width_, height_, frameWidth_, frameHeight_); }

bool FrameMaker::isFitted() const { return place() != PixelRect{0, 0, width_, height_}; }

void FrameMaker::change(const PixelRect& area) {
    if (area.isEmpty()) return;
    if (isFitted()) {
        isFittedStale_ = true;
        frames_.change({0, 0, frameWidth_, frameHeight_});
    } else {
        frames_.change(area);
    }
}

ConstPixelBufferRef FrameMaker::make(const Plane& picture, const Cursor& cursor) {
    change(cursorPlace_);
    cursorPlace_ = {};
    if (cursor.image != nullptr)
        cursorPlace_ = cursor.image->boundsAt(cursor.x, cursor.y).intersected({0, 0, width_, height_});
    change(cursorPlace_);
    const bool fitted = isFitted();
    PixelBuffer* drawn = nullptr;
    auto frame = frames_.take([&](PixelBuffer& target, const PixelRect& area) {
        drawn = &target;
        if (fitted && std::exchange(isFittedStale_, false)) drawFitted(picture, cursor);
        convert(fitted ? fitted_->plane() : picture, area, target);
    });
    if (drawn != nullptr && !fitted) drawCursor(picture, cursor, *drawn);
    return frame;
}

void FrameMaker::drawFitted(const Plane& picture, const Cursor& cursor) {
    if (!fitted_) fitted_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, frameWidth_, frameHeight_);
    if (cursorPlace_.isEmpty()) {
        drawLetterboxed(picture, *fitted_);
        return;
    }
    if (!whole_ || whole_->width() != width_ || whole_->height() != height_)
        whole_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, width_, height_);
    copyPixels(picture, whole_->plane());
    cursor.image->draw(whole_->plane(), cursor.x, cursor.y);
    drawLetterboxed(whole_->plane(), *fitted_);
}

void FrameMaker::drawCursor(const Plane& picture, const Cursor& cursor, PixelBuffer& frame) {
    if (cursorPlace_.isEmpty()) return;
    // On a copy of what is beneath it, of whole pairs of lines, as chroma belongs to pairs.
    const int left = cursorPlace_.x & ~1, top = cursorPlace_.y & ~1;
    const PixelRect area{left, top, ((cursorPlace_.maxX() + 1) & ~1) - left,
                         ((cursorPlace_.maxY() + 1) & ~1) - top};
    const PixelRect part = area.intersected({0, 0, width_, height_});
    const int stride = part.width * bgraBytes;
    beneathCursor_.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(part.height));
    const Plane patch{beneathCursor_.data(), stride, part.width, part.height};
    copyPixels(partOf(picture, part), patch);
    cursor.image->draw(patch, cursor.x - part.x, cursor.y - part.y);
    convertPart(patch, partOf(frame, part));
    repeatLastLines(frame.plane(), frame.format() == PixelFormat::i420 ? 1 : bgraBytes, part,
                    area.intersected({0, 0, frameWidth_, frameHeight_}));
}

void FrameMaker::convert(const Plane& picture, const PixelRect& area, PixelBuffer& frame) const {
    const PixelRect filled = area.intersected({0, 0, picture.width, picture.height});
    if (filled.isEmpty()) return;
    convertPart(partOf(picture, filled), partOf(frame, filled));
    repeatLastLines(frame.plane(), frame.format() == PixelFormat::i420 ? 1 : bgraBytes, filled, area);
}

}  // namespace platform

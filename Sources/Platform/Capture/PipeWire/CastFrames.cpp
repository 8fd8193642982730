#include "Platform/Capture/PipeWire/CastFrames.hpp"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>

namespace platform::pipewire {

namespace {

/// Tells the processor's caches that a DMA-BUF is read from here on.
class ReadingDmaBuf {
  public:
    explicit ReadingDmaBuf(int fd) : fd_(fd) { sync(DMA_BUF_SYNC_START); }
    ~ReadingDmaBuf() { sync(DMA_BUF_SYNC_END); }
    ReadingDmaBuf(const ReadingDmaBuf&) = delete;
    ReadingDmaBuf& operator=(const ReadingDmaBuf&) = delete;

  private:
    void sync(std::uint64_t edge) const {
        dma_buf_sync request{DMA_BUF_SYNC_READ | edge};
        if (fd_ >= 0) ioctl(fd_, DMA_BUF_IOCTL_SYNC, &request);
    }
    int fd_;
};

}  // namespace

CastFrames::CastFrames(const StreamConfiguration& configuration) : maker_(configuration) {}

void CastFrames::show(const CastPicture& picture) {
    const PixelRect part{picture.x, picture.y, picture.plane.width, picture.plane.height};
    const PixelRect whole{0, 0, part.width, part.height};
    const bool isContinued = part == part_ && picture.format == format_ && picture.changes;
    if (!isContinued) {
        part_ = part;
        format_ = picture.format;
        maker_.setSize(part.width, part.height);
        stale_.clear();
    }
    for (const PixelRect& area : isContinued ? *picture.changes : RectList{whole}) {
        maker_.change(area);
        stale_.add(area);
    }
}

ConstPixelBufferRef CastFrames::make(const CastPicture& picture, const CastPointer* pointer, int dmaBuf) {
    FrameMaker::Cursor cursor;
    if (const auto position = pointer == nullptr ? std::nullopt : pointer->position())
        cursor = {&pointer->image(), position->x - picture.x, position->y - picture.y};
    const ReadingDmaBuf reading(dmaBuf);
    if (isBgra(picture)) return maker_.make(picture.plane, cursor);
    if (!converted_ || converted_->width() != part_.width || converted_->height() != part_.height)
        converted_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, part_.width, part_.height);
    for (const PixelRect& area : stale_.take()) draw(picture, area, converted_->plane());
    return maker_.make(converted_->plane(), cursor);
}

CastScreen::Spot CastFrames::spotOf(int x, int y) const {
    const PixelRect place = maker_.place();
    return {place.x + static_cast<double>(x) * place.width / part_.width,
            place.y + static_cast<double>(y) * place.height / part_.height};
}

}  // namespace platform::pipewire

#include "Platform/Capture/Xcb/ShmBufferPool.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <sys/socket.h>
#include <xcb/shm.h>

namespace platform {

class ShmSegment {
  public:
    explicit ShmSegment(std::size_t bytes)
        : bytes_(bytes), file_(memfd_create("cobaltreel-frame", MFD_CLOEXEC)) {
        void* mapped = MAP_FAILED;
        if (file_ && ftruncate(file_.get(), static_cast<off_t>(bytes)) == 0)
            mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file_.get(), 0);
        if (mapped == MAP_FAILED) throw std::bad_alloc();
        memory_ = static_cast<std::uint8_t*>(mapped);
    }
    ~ShmSegment() { munmap(memory_, bytes_); }
    ShmSegment(const ShmSegment&) = delete;
    ShmSegment& operator=(const ShmSegment&) = delete;

    bool attach(const XcbConnection& connection) {
        const int descriptor = dup(file_.get());
        if (descriptor < 0) return false;
        const xcb_shm_seg_t segment = xcb_generate_id(connection.get());
        // The library closes the descriptor once it is sent.
        if (!connection.succeeded(xcb_shm_attach_fd_checked(connection.get(), segment, descriptor, 0)))
            return false;
        shared = segment;
        return true;
    }

    std::uint8_t* memory() const { return memory_; }

    xcb_shm_seg_t shared = XCB_NONE;
    std::atomic<bool> isHeld{false};

  private:
    std::size_t bytes_;
    UniqueFd file_;
    std::uint8_t* memory_ = nullptr;
};

namespace {

bool canShare(const XcbConnection& connection) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    // Descriptors travel over local sockets only; on any other they would end the connection.
    if (getsockname(xcb_get_file_descriptor(connection.get()), reinterpret_cast<sockaddr*>(&address),
                    &length) != 0 ||
        address.ss_family != AF_UNIX || connection.extension(xcb_shm_id) == nullptr)
        return false;
    const auto version =
        connection.reply(xcb_shm_query_version_reply, xcb_shm_query_version(connection.get()));
    return version && (version->major_version > 1 || version->minor_version >= 2);
}

constexpr std::uint32_t allPlanes = ~std::uint32_t{0};

}  // namespace

ShmBufferPool::ShmBufferPool(const XcbConnection& connection, std::size_t bytes, std::size_t limit)
    : connection_(connection), bytes_(bytes), limit_(limit), isShared_(canShare(connection)) {}

ShmBufferPool::~ShmBufferPool() {
    for (const auto& segment : segments_)
        if (segment->shared != XCB_NONE) xcb_shm_detach(connection_.get(), segment->shared);
}

SegmentLease ShmBufferPool::borrow() {
    auto free = std::find_if(segments_.begin(), segments_.end(), [](const auto& segment) {
        return !segment->isHeld.load(std::memory_order_acquire);
    });
    if (free == segments_.end()) {
        if (segments_.size() >= limit_) return nullptr;
        auto fresh = std::make_shared<ShmSegment>(bytes_);
        if (isShared_) isShared_ = fresh->attach(connection_);
        free = segments_.insert(segments_.end(), std::move(fresh));
    }
    (*free)->isHeld = true;
    return {free->get(),
            [segment = *free](ShmSegment*) { segment->isHeld.store(false, std::memory_order_release); }};
}

std::uint8_t* memoryOf(const ShmSegment& segment) { return segment.memory(); }

ImageRequest requestImage(const XcbConnection& connection, xcb_drawable_t drawable, int x, int y, int width,
                          int height, const ShmSegment& into, std::size_t offset) {
    const auto left = static_cast<std::int16_t>(x), top = static_cast<std::int16_t>(y);
    const auto w = static_cast<std::uint16_t>(width), h = static_cast<std::uint16_t>(height);
    ImageRequest request{into.shared != XCB_NONE, 0, width, height, offset};
    request.sequence =
        request.isShared
            ? xcb_shm_get_image(connection.get(), drawable, left, top, w, h, allPlanes,
                                XCB_IMAGE_FORMAT_Z_PIXMAP, into.shared, static_cast<std::uint32_t>(offset))
                  .sequence
            : xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, left, top, w, h, allPlanes)
                  .sequence;
    return request;
}

bool awaitImage(const XcbConnection& connection, const ImageRequest& request, ShmSegment& into) {
    const std::size_t bytes =
        static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.height) * 4;
    if (request.isShared) {
        const auto answer =
            connection.reply(xcb_shm_get_image_reply, xcb_shm_get_image_cookie_t{request.sequence});
        return answer && answer->size >= bytes;
    }
    const auto answer = connection.reply(xcb_get_image_reply, xcb_get_image_cookie_t{request.sequence});
    if (!answer || static_cast<std::size_t>(xcb_get_image_data_length(answer.get())) < bytes) return false;
    std::memcpy(into.memory() + request.offset, xcb_get_image_data(answer.get()), bytes);
    return true;
}

void requireKnownPixels(const XcbConnection& connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection.get());
    const xcb_screen_t& screen = connection.screen();
    bool known = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST &&
                 (screen.root_depth == 24 || screen.root_depth == 32);
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format))
        if (format.data->depth == screen.root_depth) known = known && format.data->bits_per_pixel == 32;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth))
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual))
            if (visual.data->visual_id == screen.root_visual)
                known = known && visual.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR &&
                        visual.data->red_mask == 0xff0000 && visual.data->green_mask == 0xff00 &&
                        visual.data->blue_mask == 0xff;
    if (!known)
        throw PlatformError(
            "ScreenCapture", 2,
            "The display \"" + connection.name() + "\" shows " + std::to_string(screen.root_depth) +
                "-bit colors in a layout that cannot be recorded. Set it to 24-bit true color.");
}

}  // namespace platform

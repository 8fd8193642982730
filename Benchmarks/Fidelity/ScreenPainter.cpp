#include "ScreenPainter.hpp"

#include "Platform/Foundation/Clock.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace cobaltreel::benchmarks {
namespace {

/// The rows and columns in which two pictures of one size differ.
QRect difference(const QImage& a, const QImage& b) {
    const auto rowDiffers = [&](int y) {
        return std::memcmp(a.constScanLine(y), b.constScanLine(y), static_cast<std::size_t>(a.width()) * 4) !=
               0;
    };
    int top = 0, bottom = a.height() - 1;
    while (top <= bottom && !rowDiffers(top)) ++top;
    while (bottom > top && !rowDiffers(bottom)) --bottom;
    if (top > bottom) return {};
    int left = a.width(), right = -1;
    for (int y = top; y <= bottom; ++y) {
        const auto* p = reinterpret_cast<const std::uint32_t*>(a.constScanLine(y));
        const auto* q = reinterpret_cast<const std::uint32_t*>(b.constScanLine(y));
        int x = 0;
        while (x < left && p[x] == q[x]) ++x;
        left = std::min(left, x);
        x = a.width() - 1;
        while (x > right && p[x] == q[x]) --x;
        right = std::max(right, x);
    }
    return {QPoint(left, top), QPoint(right, bottom)};
}

}  // namespace

void ScreenPainter::Disconnect::operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }

ScreenPainter::ScreenPainter() : connection_(xcb_connect(nullptr, nullptr)) {
    xcb_connection_t* c = connection_.get();
    if (xcb_connection_has_error(c) != 0) throw std::runtime_error("there is no X server");
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    width_ = screen->width_in_pixels;
    height_ = screen->height_in_pixels;
    depth_ = screen->root_depth;

    const xcb_pixmap_t nothing = xcb_generate_id(c);
    xcb_create_pixmap(c, 1, nothing, screen->root, 1, 1);
    const xcb_cursor_t noPointer = xcb_generate_id(c);
    xcb_create_cursor(c, noPointer, nothing, nothing, 0, 0, 0, 0, 0, 0, 0, 0);
    window_ = xcb_generate_id(c);
    const std::uint32_t values[] = {screen->black_pixel, 1, noPointer};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_CURSOR, values);
    xcb_map_window(c, window_);
    gc_ = xcb_generate_id(c);
    xcb_create_gc(c, gc_, window_, 0, nullptr);

    const int id =
        shmget(IPC_PRIVATE, static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4,
               IPC_CREAT | 0600);
    void* memory = id < 0 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, 0);
    if (memory == reinterpret_cast<void*>(-1)) throw std::runtime_error("there is no shared memory");
    shared_ = static_cast<unsigned char*>(memory);
    segment_ = xcb_generate_id(c);
    xcb_shm_attach(c, segment_, static_cast<std::uint32_t>(id), 1);
    waitForServer();
    shmctl(id, IPC_RMID, nullptr);
}

ScreenPainter::~ScreenPainter() { shmdt(shared_); }

void ScreenPainter::waitForServer() {
    xcb_connection_t* c = connection_.get();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) std::free(event);
}

double ScreenPainter::show(const QImage& picture) {
    const QRect changed = last_.isNull() ? picture.rect() : difference(last_, picture);
    last_ = picture;
    if (!changed.isEmpty()) {
        const std::size_t stride = static_cast<std::size_t>(width_) * 4;
        for (int y = changed.top(); y <= changed.bottom(); ++y)
            std::memcpy(shared_ + static_cast<std::size_t>(y) * stride, picture.constScanLine(y), stride);
        const auto number = [](int value) { return static_cast<std::uint16_t>(value); };
        xcb_shm_put_image(connection_.get(), window_, gc_, number(width_), number(height_),
                          number(changed.left()), number(changed.top()), number(changed.width()),
                          number(changed.height()), static_cast<std::int16_t>(changed.left()),
                          static_cast<std::int16_t>(changed.top()), depth_, XCB_IMAGE_FORMAT_Z_PIXMAP, 0,
                          segment_, 0);
        waitForServer();
    }
    return platform::HostClock().now();
}

}  // namespace cobaltreel::benchmarks

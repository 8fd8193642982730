// RigScene [--fill | --fill-size WxH | --still] [--no-counter] [--fps N]: something to record. A backdrop, a
// titled window that moves, a window of scrolling "text" and, at the desktop's top left, the frame counter of
// FrameCounter.hpp. Prints "ready" once it can be seen.

#include "Rig/FrameCounter.hpp"
#include "Rig/HostTime.hpp"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace {

using rig::hostTime;
using rig::sleepUntil;

volatile std::sig_atomic_t ended = 0;

struct Options {
    bool fill = false;
    int fillWidth = 0;  // 0: the whole desktop
    int fillHeight = 0;
    bool still = false;
    bool hidesCounter = false;
    double fps = 60;
};

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "RigScene: %s\n", what);
    std::exit(1);
}

class Scene {
  public:
    explicit Scene(const Options& options) : options_(options) {
        int number = 0;
        c_ = xcb_connect(nullptr, &number);
        if (xcb_connection_has_error(c_)) fail("no X server at $DISPLAY");
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
        width_ = screen_->width_in_pixels;
        height_ = screen_->height_in_pixels;
        gc_ = xcb_generate_id(c_);
        const std::uint32_t noExposures = 0;
        xcb_create_gc(c_, gc_, screen_->root, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
        if (options_.fill)
            makeFill();
        else
            makeDesktop();
        if (!options_.hidesCounter) makeCounter();
        drawFrame(0);
        sync();
    }
    ~Scene() {
        if (fillShared_ != nullptr) shmdt(fillShared_);
        xcb_disconnect(c_);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    bool lost() const { return xcb_connection_has_error(c_) != 0; }

    void drawFrame(std::uint32_t counter) {
        counter_ = counter;
        if (!options_.hidesCounter) drawCounter(counter);
        if (options_.fill) {
            const auto w = static_cast<std::uint16_t>(fillWidth()),
                       h = static_cast<std::uint16_t>(fillHeight());
            xcb_shm_put_image(c_, fill_, gc_, w, static_cast<std::uint16_t>(2 * h), 0,
                              static_cast<std::int16_t>(counter * 4 % h), w, h, 0, 0, screen_->root_depth,
                              XCB_IMAGE_FORMAT_Z_PIXMAP, 0, fillSegment_, 0);
        } else {
            moveWindow(counter);
            if (counter % 6 == 0) {
                writeLine();
                showPage();
            }
        }
        xcb_flush(c_);
    }

    /// Waits until the server has drawn everything, and repaints what it asks for.
    void sync() {
        std::free(xcb_get_input_focus_reply(c_, xcb_get_input_focus(c_), nullptr));
        while (xcb_generic_event_t* event = xcb_poll_for_event(c_)) {
            if ((event->response_type & 0x7f) == XCB_EXPOSE) {
                drawFrame(counter_);
                if (page_ != 0) showPage();
            }
            std::free(event);
        }
    }

  private:
    void color(std::uint32_t rgb) { xcb_change_gc(c_, gc_, XCB_GC_FOREGROUND, &rgb); }

    void box(xcb_drawable_t on, std::uint32_t rgb, int x, int y, int w, int h) {
        color(rgb);
        const xcb_rectangle_t area{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                   static_cast<std::uint16_t>(w), static_cast<std::uint16_t>(h)};
        xcb_poly_fill_rectangle(c_, on, gc_, 1, &area);
    }

    xcb_window_t window(int x, int y, int w, int h, std::uint32_t rgb, bool managed, const char* title) {
        const xcb_window_t id = xcb_generate_id(c_);
        const std::uint32_t values[] = {rgb, managed ? 0U : 1U, XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(c_, XCB_COPY_FROM_PARENT, id, screen_->root, static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), static_cast<std::uint16_t>(w),
                          static_cast<std::uint16_t>(h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(std::strlen(title)), title);
        static constexpr char programClass[] = "rigscene\0RigScene";
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                            sizeof programClass, programClass);
        // Placed by the program, so that the window manager leaves it there: WM_SIZE_HINTS, USPosition.
        const std::int32_t hints[18] = {1, x, y, w, h};
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                            32, 18, hints);
        xcb_map_window(c_, id);
        return id;
    }

    void makeDesktop() {
        // The backdrop is the root window's own, and announced as desktops do.
        backdrop_ = xcb_generate_id(c_);
        xcb_create_pixmap(c_, screen_->root_depth, backdrop_, screen_->root,
                          static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_));
        constexpr int bands = 24;
        for (int i = 0; i < bands; ++i) {
            const int top = height_ * i / bands;
            box(backdrop_, 0x203040U + static_cast<std::uint32_t>(i) * 0x010203U, 0, top, width_,
                height_ * (i + 1) / bands - top);
        }
        const std::uint32_t pixmap = backdrop_;
        xcb_change_window_attributes(c_, screen_->root, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_clear_area(c_, 0, screen_->root, 0, 0, 0, 0);
        static constexpr char name[] = "_XROOTPMAP_ID";
        if (auto* atom = xcb_intern_atom_reply(c_, xcb_intern_atom(c_, 0, sizeof name - 1, name), nullptr)) {
            xcb_change_property(c_, XCB_PROP_MODE_REPLACE, screen_->root, atom->atom, XCB_ATOM_PIXMAP, 32, 1,
                                &pixmap);
            std::free(atom);
        }
        text_ = window(width_ * 5 / 8, height_ / 8, width_ / 3, height_ * 3 / 4, 0xf4f1e8, true, "Notes");
        makePage();
        moving_ = window(width_ / 8, height_ / 4, width_ / 4, height_ / 4, 0x2a7f62, true, "Moving window");
    }

    int fillWidth() const { return options_.fillWidth > 0 ? options_.fillWidth : width_; }
    int fillHeight() const { return options_.fillHeight > 0 ? options_.fillHeight : height_; }

    void makeFill() {
        const int width = fillWidth(), height = fillHeight();
        fill_ = window((width_ - width) / 2, (height_ - height) / 2, width, height, 0x101010, false, "Fill");
        const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 2 * 4;
        const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
        if (id < 0) fail("no shared memory for the picture");
        fillShared_ = static_cast<std::uint32_t*>(shmat(id, nullptr, 0));
        fillSegment_ = xcb_generate_id(c_);
        xcb_generic_error_t* refused = xcb_request_check(
            c_, xcb_shm_attach_checked(c_, fillSegment_, static_cast<std::uint32_t>(id), 1));
        shmctl(id, IPC_RMID, nullptr);
        if (refused != nullptr) fail("the X server refuses shared memory");
        // The lower half repeats the upper, so that it scrolls round without a seam.
        for (int y = 0; y < 2 * height; ++y) {
            const auto row = static_cast<std::uint32_t>(y % height);
            std::uint32_t* line = fillShared_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
            for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(width); ++x) {
                const bool ink = ((x / 9) * 2654435761U ^ (row / 14) * 40503U) % 7 < 3 && row % 14 < 9;
                line[x] = ink ? 0xff202428U
                              : 0xff000000U | ((x * 160 / static_cast<std::uint32_t>(width) + 80) << 16) |
                                    0x9000U | (row * 120 / static_cast<std::uint32_t>(height) + 60);
            }
        }
    }

    void makeCounter() {
        counterWindow_ = window(0, 0, rig::counterWidth, rig::counterHeight, 0, false, "Counter");
        counterPicture_ = xcb_generate_id(c_);
        xcb_create_pixmap(c_, screen_->root_depth, counterPicture_, screen_->root, rig::counterWidth,
                          rig::counterHeight);
    }

    void drawCounter(std::uint32_t counter) {
        std::vector<xcb_rectangle_t> white;
        for (int i = 0; i < rig::counterCells; ++i)
            if (rig::counterCell(counter, i))
                white.push_back({static_cast<std::int16_t>(i * rig::counterCellSize), 0, rig::counterCellSize,
                                 rig::counterCellSize});
        box(counterPicture_, 0x000000, 0, 0, rig::counterWidth, rig::counterHeight);
        color(0xffffff);
        xcb_poly_fill_rectangle(c_, counterPicture_, gc_, static_cast<std::uint32_t>(white.size()),
                                white.data());
        // In one step, so that no grab sees half a strip. Always on top.
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        if (counter % 30 == 0) xcb_configure_window(c_, counterWindow_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_copy_area(c_, counterPicture_, counterWindow_, gc_, 0, 0, 0, 0, rig::counterWidth,
                      rig::counterHeight);
    }

    void moveWindow(std::uint32_t counter) {
        const double angle = counter / options_.fps;
        const std::uint32_t place[] = {
            static_cast<std::uint32_t>(width_ * (0.22 + 0.15 * std::cos(angle))),
            static_cast<std::uint32_t>(height_ * (0.35 + 0.2 * std::sin(2 * angle)))};
        xcb_configure_window(c_, moving_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
        box(moving_, 0xffd166, 20, 20, width_ / 16, height_ / 16);
    }

    void makePage() {
        page_ = xcb_generate_id(c_);
        xcb_create_pixmap(c_, screen_->root_depth, page_, screen_->root, pageWidth(), pageHeight());
        for (int line = 0; line * lineHeight < pageHeight(); ++line) writeLine();
    }

    void writeLine() {
        const int w = pageWidth(), h = pageHeight();
        xcb_copy_area(c_, page_, page_, gc_, 0, lineHeight, 0, 0, pageWidth(),
                      static_cast<std::uint16_t>(h - lineHeight));
        box(page_, 0xf4f1e8, 0, h - lineHeight, w, lineHeight);
        for (int x = 12; x < w - 60;) {
            random_ = random_ * 1664525U + 1013904223U;
            const int word = 8 + static_cast<int>(random_ >> 24) % 44;
            box(page_, 0x30343a, x, h - lineHeight + 5, std::min(word, w - 12 - x), 8);
            x += word + 7;
        }
    }

    void showPage() { xcb_copy_area(c_, page_, text_, gc_, 0, 0, 0, 0, pageWidth(), pageHeight()); }

    std::uint16_t pageWidth() const { return static_cast<std::uint16_t>(width_ / 3); }
    std::uint16_t pageHeight() const { return static_cast<std::uint16_t>(height_ * 3 / 4); }

    static constexpr int lineHeight = 18;

    Options options_;
    xcb_connection_t* c_ = nullptr;
    xcb_screen_t* screen_ = nullptr;
    int width_ = 0;
    int height_ = 0;
    xcb_gcontext_t gc_ = 0;
    xcb_pixmap_t backdrop_ = 0;
    xcb_window_t text_ = 0;
    xcb_pixmap_t page_ = 0;  // what the text window shows, to repaint it
    xcb_window_t moving_ = 0;
    xcb_window_t fill_ = 0;
    std::uint32_t* fillShared_ = nullptr;
    xcb_shm_seg_t fillSegment_ = 0;
    xcb_window_t counterWindow_ = 0;
    xcb_pixmap_t counterPicture_ = 0;
    std::uint32_t counter_ = 0;
    std::uint32_t random_ = 7;
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App arguments;
    arguments.add_flag("--fill", options.fill);
    arguments.add_option_function<std::string>("--fill-size", [&](const std::string& text) {
        options.fill = std::sscanf(text.c_str(), "%dx%d", &options.fillWidth, &options.fillHeight) == 2;
    });
    arguments.add_flag("--still", options.still);
    arguments.add_flag("--no-counter", options.hidesCounter);
    arguments.add_option("--fps", options.fps)->check(CLI::PositiveNumber);
    CLI11_PARSE(arguments, argc, argv);
    std::signal(SIGTERM, [](int) { ended = 1; });
    std::signal(SIGINT, [](int) { ended = 1; });
    Scene scene(options);
    std::puts("ready");
    std::fflush(stdout);

    const double begin = hostTime();
    std::uint32_t counter = 0;
    while (ended == 0 && !scene.lost()) {
        const double elapsed = hostTime() - begin;
        if (options.still) {
            scene.sync();
            sleepUntil(hostTime() + 0.1);
            continue;
        }
        // Steps missed by a busy machine are left out; the counter tells.
        counter = std::max(counter + 1, static_cast<std::uint32_t>(elapsed * options.fps));
        sleepUntil(begin + counter / options.fps);
        scene.drawFrame(counter);
        scene.sync();
    }
    return 0;
}

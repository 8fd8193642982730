#pragma once

#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"
#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Rig/ChildProcess.hpp"
#include "Rig/FrameCounter.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace platform::test {

inline constexpr std::chrono::seconds patience{10};

inline std::string rigProgram(const std::string& name) { return std::string(RIG_PROGRAMS "/") + name; }

/// Red, green and blue of one pixel as 0xRRGGBB.
inline std::uint32_t colorAt(const PixelBuffer& picture, int x, int y) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel,
                picture.plane().data + static_cast<std::ptrdiff_t>(y) * picture.plane().stride + x * 4, 4);
    return pixel & 0xffffff;
}

/// Equal but for the rounding of a scaled picture.
inline bool isNear(std::uint32_t a, std::uint32_t b) {
    constexpr int rounding = 4;
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(static_cast<int>(a >> shift & 0xff) - static_cast<int>(b >> shift & 0xff)) > rounding)
            return false;
    return true;
}

inline std::optional<std::uint32_t> counterIn(const PixelBuffer& picture, int desktopWidth,
                                              int desktopHeight) {
    return rig::readCounter(desktopWidth, desktopHeight, [&](double x, double y) {
        const std::uint32_t color =
            colorAt(picture, static_cast<int>(x * picture.width()), static_cast<int>(y * picture.height()));
        return static_cast<int>(color >> 8 & 0xff);
    });
}

/// A running stream whose samples are looked at as they come.
class Recording {
  public:
    using Look = std::function<void(const PixelBuffer&, double time)>;

    Recording(ScreenCaptureService& service, const ContentFilter& filter,
              const StreamConfiguration& configuration, Look look = {})
        : look_(std::move(look)), queue_("cobaltreel.screen.capture") {
        stream_ = service.makeStream(filter, configuration, [this](const PlatformError& error) {
            const std::lock_guard lock(mutex_);
            errors_.push_back(error.description());
            changed_.notify_all();
        });
        stream_->addOutput(StreamOutputType::screen, queue_, [this](const CapturedSample& sample) {
            if (sample.status != FrameStatus::complete || !sample.buffer.isValid()) return;
            const double time = sample.buffer.presentationTime.seconds();
            if (look_) look_(*sample.buffer.image, time);
            const std::lock_guard lock(mutex_);
            if (!times_.empty() && time <= times_.back()) isMonotonic_ = false;
            times_.push_back(time);
            latest_ = sample.buffer.image;
            changed_.notify_all();
        });
        stream_->startCapture([this](const std::optional<PlatformError>& error) {
            const std::lock_guard lock(mutex_);
            started_ = true;
            if (error) startError_ = error->description();
            changed_.notify_all();
        });
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, patience, [this] { return started_; });
    }
    ~Recording() { stop(); }

    /// Stops and waits until it has; false when it does not in time.
    bool stop() {
        if (!stream_) return true;
        bool isDone = false;
        stream_->stopCapture([&](const std::optional<PlatformError>&) {
            const std::lock_guard lock(mutex_);
            isDone = true;
            changed_.notify_all();
        });
        {
            std::unique_lock lock(mutex_);
            if (!changed_.wait_for(lock, patience, [&] { return isDone; })) return false;
        }
        stream_.reset();
        return true;
    }

    /// Waits until the newest picture satisfies `isRight`; false when none does in time.
    bool waitForPicture(const std::function<bool(const PixelBuffer&)>& isRight) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return latest_ && isRight(*latest_); });
    }
    bool waitForFrames(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return times_.size() >= count; });
    }
    /// Waits until no frame has come for `quiet`; the number of frames so far.
    std::size_t settle(std::chrono::milliseconds quiet = std::chrono::milliseconds(300)) {
        std::unique_lock lock(mutex_);
        std::size_t seen = times_.size();
        while (changed_.wait_for(lock, quiet, [&] { return times_.size() > seen; })) seen = times_.size();
        return seen;
    }
    bool waitForError() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return !errors_.empty(); });
    }

    std::vector<std::string> errors() const { return locked(errors_); }
    std::string startError() const { return locked(startError_); }
    std::vector<double> times() const { return locked(times_); }
    ConstPixelBufferRef latest() const { return locked(latest_); }
    bool isMonotonic() const { return locked(isMonotonic_); }

  private:
    template <typename T>
    T locked(const T& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Look look_;
    bool started_ = false;
    bool isMonotonic_ = true;
    std::string startError_;
    std::vector<std::string> errors_;
    std::vector<double> times_;
    ConstPixelBufferRef latest_;
    SerialQueue queue_;
    std::unique_ptr<CaptureStream> stream_;
};

/// A plainly colored window of a connection of its own (hence, to the server, of this process).
class ColorWindow {
  public:
    struct Look {
        std::uint32_t color = 0xff0000;
        bool isOverride = false;
        std::string title = "Color";
    };

    ColorWindow(XcbConnection& connection, int x, int y, int width, int height, const Look& look)
        : connection_(connection), id_(xcb_generate_id(connection.get())) {
        xcb_connection_t* c = connection.get();
        const std::uint32_t values[] = {look.color, look.isOverride ? 1U : 0U};
        xcb_create_window(c, XCB_COPY_FROM_PARENT, id_, connection.root(), static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        setText(XCB_ATOM_WM_NAME, look.title);
        const std::int32_t hints[18] = {1, x, y, width, height};  // USPosition
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                            32, 18, hints);
    }
    ~ColorWindow() {
        xcb_destroy_window(connection_.get(), id_);
        xcb_flush(connection_.get());
    }
    ColorWindow(const ColorWindow&) = delete;
    ColorWindow& operator=(const ColorWindow&) = delete;

    xcb_window_t id() const { return id_; }
    void setText(xcb_atom_t property, const std::string& text) {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, id_, property, XCB_ATOM_STRING, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    }
    void setCardinals(const std::string& property, const std::vector<std::uint32_t>& values) {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, id_, connection_.atom(property),
                            XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(values.size()), values.data());
        settle();
    }
    /// Shows it and waits until it is.
    void show() {
        xcb_map_window(connection_.get(), id_);
        waitUntil([this] { return isViewable(); });
    }
    void hide() {
        xcb_unmap_window(connection_.get(), id_);
        waitUntil([this] { return !isViewable(); });
    }
    bool isViewable() const {
        const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                                  xcb_get_window_attributes(connection_.get(), id_));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    void move(int x, int y) { configure(XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, x, y); }
    void resize(int width, int height) {
        configure(XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, width, height);
    }
    void raise() {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection_.get(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        settle();
    }
    void paint(std::uint32_t color) {
        xcb_change_window_attributes(connection_.get(), id_, XCB_CW_BACK_PIXEL, &color);
        xcb_clear_area(connection_.get(), 0, id_, 0, 0, 0, 0);
        settle();
    }
    void settle() { connection_.reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_.get())); }
    static bool waitUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!condition())
            if (std::chrono::steady_clock::now() > end) return false;
        return true;
    }

  private:
    void configure(std::uint16_t mask, int a, int b) {
        const std::uint32_t values[] = {static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b)};
        xcb_configure_window(connection_.get(), id_, mask, values);
        settle();
    }

    XcbConnection& connection_;
    xcb_window_t id_;
};

inline StreamConfiguration configurationFor(int width, int height) {
    StreamConfiguration configuration;
    configuration.width = width;
    configuration.height = height;
    return configuration;
}

inline double processorSeconds() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

}  // namespace platform::test

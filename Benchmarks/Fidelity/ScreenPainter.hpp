#pragma once

#include <QImage>
#include <memory>

struct xcb_connection_t;

namespace cobaltreel::benchmarks {

/// A window over the whole X screen that shows pictures; the pointer is invisible over it. One thread. Throws
/// std::runtime_error when the server is not there.
class ScreenPainter {
  public:
    ScreenPainter();
    ~ScreenPainter();
    ScreenPainter(const ScreenPainter&) = delete;
    ScreenPainter& operator=(const ScreenPainter&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }

    /// Puts what differs from the last picture onto the screen, in one request, and returns the host-clock
    /// time at which the server had drawn it. RGB32, of the screen's size.
    double show(const QImage& picture);

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const;
    };
    void waitForServer();

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    int width_ = 0;
    int height_ = 0;
    unsigned int window_ = 0, gc_ = 0, segment_ = 0;
    unsigned char depth_ = 0;
    unsigned char* shared_ = nullptr;
    QImage last_;
};

}  // namespace cobaltreel::benchmarks

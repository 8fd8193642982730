#include "Platform/Desktop/Xcb/XcbEventThread.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

namespace platform {

XcbEventThread::XcbEventThread(XcbConnection connection, const std::string& name, Filter matters,
                               std::shared_ptr<MainLoop> mainLoop, std::function<void()> report)
    : connection_(std::move(connection)),
      matters_(std::move(matters)),
      mainLoop_(std::move(mainLoop)),
      report_(std::make_shared<std::function<void()>>(std::move(report))),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_)
        throw PlatformError("Desktop", errno, std::string("no wake-up call: ") + std::strerror(errno));
    thread_ = NamedThread(name, [this] { watch(); });
}

XcbEventThread::~XcbEventThread() {
    report_.reset();
    const std::uint64_t one = 1;
    // An event counter at zero takes one write.
    [[maybe_unused]] const auto written = write(wake_.get(), &one, sizeof one);
    thread_.join();
}

void XcbEventThread::watch() {
    pollfd waiting[2]{{xcb_get_file_descriptor(connection_.get()), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
    for (;;) {
        while (const XcbEvent event{xcb_poll_for_event(connection_.get())}) {
            if (matters_(connection_, *event)) tell();
        }
        if (connection_.isBroken()) return;
        if (poll(waiting, 2, -1) < 0 && errno != EINTR) return;
        if (waiting[1].revents != 0) return;
    }
}

void XcbEventThread::tell() {
    try {
        mainLoop_->post([weak = alive_] {
            // Held while it runs: the callback may destroy the watch.
            if (const auto report = weak.lock()) (*report)();
        });
    } catch (const std::exception&) {
        // Out of memory for one event: the next one may get through.
    }
}

}  // namespace platform

#include "Platform/Capture/Xcb/X11CaptureStream.hpp"

#include "Platform/Capture/Frames/FramePacer.hpp"
#include "Platform/Foundation/Clock.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace platform {

X11CaptureStream::X11CaptureStream(std::string displayName, const StreamConfiguration& configuration,
                                   SourceMaker makeSource,
                                   std::function<void(const PlatformError&)> onStopped)
    : displayName_(std::move(displayName)),
      configuration_(configuration),
      makeSource_(std::move(makeSource)),
      onStopped_(std::move(onStopped)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_)
        throw PlatformError("ScreenCapture", serverLacks, "Too many files are open to record the screen.");
}

X11CaptureStream::~X11CaptureStream() {
    requestStop();
    thread_.join();
}

void X11CaptureStream::addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) {
    output_.add(type, queue, std::move(handler));
}

void X11CaptureStream::startCapture(Done done) {
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(isStarted_, true))
            throw PlatformError("ScreenCapture", badConfiguration, "A stream can be started only once.");
    }
    thread_ = NamedThread("screen.grab", [this, done = std::move(done)] { run(done); });
}

void X11CaptureStream::stopCapture(Done done) {
    {
        const std::lock_guard lock(mutex_);
        if (isStarted_ && !hasEnded_) {
            waitingForEnd_.push_back(std::move(done));
            done = nullptr;
        }
    }
    requestStop();
    if (done) done(std::nullopt);
}

void X11CaptureStream::requestStop() {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
    if (socket_ >= 0) shutdown(socket_, SHUT_RDWR);
    eventfd_write(wake_.get(), 1);
}

bool X11CaptureStream::isStopping() {
    const std::lock_guard lock(mutex_);
    return isStopping_;
}

void X11CaptureStream::run(const Done& started) {
    bool hasStarted = false;
    std::optional<PlatformError> failure;
    try {
        capture(started, hasStarted);
    } catch (const PlatformError& error) {
        failure = error;
    } catch (const std::exception& error) {
        failure = PlatformError("ScreenCapture", serverLacks,
                                std::string("Recording the screen failed: ") + error.what());
    }
    if (!hasStarted) {
        if (!failure) failure = PlatformError("ScreenCapture", serverLost, "The recording was stopped.");
        started(failure);
    } else if (failure && !isStopping() && onStopped_) {
        onStopped_(*failure);
    }
    waitForStop();
    output_.close();
    std::vector<Done> waiting;
    {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        waiting.swap(waitingForEnd_);
    }
    for (const Done& done : waiting) done(std::nullopt);
}

void X11CaptureStream::capture(const Done& started, bool& hasStarted) {
    XcbConnection connection(displayName_);
    struct Published {
        Published(X11CaptureStream& owner, int fd) : stream(owner) {
            const std::lock_guard lock(stream.mutex_);
            stream.socket_ = fd;
            if (stream.isStopping_) shutdown(fd, SHUT_RDWR);
        }
        ~Published() {
            const std::lock_guard lock(stream.mutex_);
            stream.socket_ = -1;
        }
        Published(const Published&) = delete;
        Published& operator=(const Published&) = delete;
        X11CaptureStream& stream;
    } const published(*this, xcb_get_file_descriptor(connection.get()));

    const std::unique_ptr<CaptureSource> source = makeSource_(connection, configuration_);
    hasStarted = true;
    started(std::nullopt);
    takePictures(connection, *source);
}

void X11CaptureStream::takePictures(XcbConnection& connection, CaptureSource& source) {
    FramePacer pacer(configuration_.minimumFrameInterval.seconds());
    while (!isStopping()) {
        source.handleWaitingEvents();
        if (connection.isBroken())
            throw PlatformError("ScreenCapture", serverLost,
                                "The connection to the X server of display \"" + connection.name() +
                                    "\" was lost. What was recorded so far is kept.");
        const CaptureSource::Change change = source.change();
        if (change == CaptureSource::Change::none) {
            sleep(&connection, false, 0);
            continue;
        }
        const double now = HostClock().now();
        if (now < pacer.nextTime()) {
            // Anything that happens until then is in the next picture anyway.
            sleep(nullptr, true, pacer.nextTime());
            continue;
        }
        if (change == CaptureSource::Change::pointer && now < pacer.nextTime(FramePacer::slotsOfPointer)) {
            sleep(&connection, false, pacer.nextTime(FramePacer::slotsOfPointer));
            continue;
        }
        pacer.take(now);
        auto picture = source.grab();
        if (picture && !output_.deliver(picture->time, std::move(picture->picture), picture->droppedBefore))
            source.touch();
    }
}

void X11CaptureStream::sleep(const XcbConnection* connection, bool quietly, double until) {
    if (connection != nullptr) xcb_flush(connection->get());
    pollfd watched[2] = {{wake_.get(), POLLIN, 0},
                         {quietly ? -1 : xcb_get_file_descriptor(connection->get()), POLLIN, 0}};
    timespec limit{};
    if (until > 0) {
        const double left = std::max(0.0, until - HostClock().now());
        limit.tv_sec = static_cast<time_t>(left);
        limit.tv_nsec = static_cast<long>((left - std::floor(left)) * 1e9);
    }
    ppoll(watched, 2, until > 0 ? &limit : nullptr, nullptr);
}

void X11CaptureStream::waitForStop() {
    while (!isStopping()) sleep(nullptr, true, 0);
}

}  // namespace platform

#include "Platform/Foundation/Qt/QtMainLoop.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include <sys/timerfd.h>

namespace platform {
namespace {

timespec toTimespec(double seconds) {
    const auto whole = std::floor(seconds);
    return {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
}

class TimerFd final : public Timer {
  public:
    TimerFd(double delay, double interval, std::function<void()> action)
        : fd_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)),
          notifier_(fd_.get(), QSocketNotifier::Read),
          action_(std::make_shared<std::function<void()>>(std::move(action))) {
        if (!fd_) throw PlatformError("Foundation", errno, std::string("no timer: ") + std::strerror(errno));
        // A zero delay would disarm the timer.
        const itimerspec schedule{toTimespec(interval), toTimespec(std::max(delay, 1e-9))};
        timerfd_settime(fd_.get(), 0, &schedule, nullptr);
        QObject::connect(&notifier_, &QSocketNotifier::activated, [this] {
            std::uint64_t expirations = 0;
            if (read(fd_.get(), &expirations, sizeof expirations) != sizeof expirations) return;
            const auto running = action_;  // outlives this timer if the action destroys it
            (*running)();
        });
    }

  private:
    UniqueFd fd_;
    QSocketNotifier notifier_;
    std::shared_ptr<std::function<void()>> action_;
};

class DescriptorWatch final : public Watch {
  public:
    DescriptorWatch(int descriptor, std::function<void()> ready)
        : notifier_(descriptor, QSocketNotifier::Read),
          ready_(std::make_shared<std::function<void()>>(std::move(ready))) {
        QObject::connect(&notifier_, &QSocketNotifier::activated, [this] {
            const auto running = ready_;  // outlives this watch if the callback destroys it
            (*running)();
        });
    }

  private:
    QSocketNotifier notifier_;
    std::shared_ptr<std::function<void()>> ready_;
};

}  // namespace

void QtMainLoop::Inbox::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
    QCoreApplication::postEvent(this, wake_.clone());
}

void QtMainLoop::Inbox::customEvent(QEvent*) {
    std::function<void()> work;
    {
        const std::lock_guard lock(mutex_);
        work = std::move(work_.front());
        work_.pop_front();
    }
    work();
}

void QtMainLoop::post(std::function<void()> work) { inbox_.post(std::move(work)); }

std::unique_ptr<Timer> QtMainLoop::scheduleRepeating(double interval, std::function<void()> tick) {
    return std::make_unique<TimerFd>(interval, interval, std::move(tick));
}

std::unique_ptr<Timer> QtMainLoop::scheduleOnce(double delay, std::function<void()> fire) {
    return std::make_unique<TimerFd>(delay, 0, std::move(fire));
}

std::unique_ptr<Watch> QtMainLoop::watchReadable(int descriptor, std::function<void()> ready) {
    return std::make_unique<DescriptorWatch>(descriptor, std::move(ready));
}

LibraryVersion qtVersion() { return {"Qt", qVersion()}; }

}  // namespace platform

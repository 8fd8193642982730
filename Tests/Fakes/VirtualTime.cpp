#include "Fakes/VirtualTime.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include <poll.h>

namespace platform {

struct VirtualTime::Watched {
    int descriptor;
    std::function<void()> ready;
};

struct VirtualTime::Scheduled {
    double due;
    double interval;  // 0 for a timer that fires once
    std::function<void()> action;
    bool cancelled = false;
};

class VirtualTime::Handle final : public Timer {
  public:
    explicit Handle(std::shared_ptr<Scheduled> scheduled) : scheduled_(std::move(scheduled)) {}
    ~Handle() override { scheduled_->cancelled = true; }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

  private:
    std::shared_ptr<Scheduled> scheduled_;
};

double VirtualTime::now() const {
    const std::lock_guard lock(mutex_);
    return now_;
}

void VirtualTime::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(work));
}

std::unique_ptr<Timer> VirtualTime::schedule(double delay, double interval, std::function<void()> action) {
    auto scheduled = std::make_shared<Scheduled>(Scheduled{now() + delay, interval, std::move(action)});
    timers_.push_back(scheduled);
    return std::make_unique<Handle>(std::move(scheduled));
}

std::unique_ptr<Timer> VirtualTime::scheduleRepeating(double interval, std::function<void()> tick) {
    return schedule(interval, interval, std::move(tick));
}

std::unique_ptr<Timer> VirtualTime::scheduleOnce(double delay, std::function<void()> fire) {
    return schedule(delay, 0, std::move(fire));
}

std::unique_ptr<Watch> VirtualTime::watchReadable(int descriptor, std::function<void()> ready) {
    struct Held final : Watch {
        explicit Held(std::shared_ptr<Watched> what) : watched(std::move(what)) {}
        std::shared_ptr<Watched> watched;
    };
    auto watched = std::make_shared<Watched>(Watched{descriptor, std::move(ready)});
    watched_.push_back(watched);
    return std::make_unique<Held>(std::move(watched));
}

void VirtualTime::lookAtDescriptors() {
    watched_.remove_if([](const auto& watched) { return watched.expired(); });
    const auto all = watched_;  // callbacks may watch more
    for (const auto& each : all) {
        const auto watched = each.lock();
        pollfd waiting{watched ? watched->descriptor : -1, POLLIN, 0};
        if (poll(&waiting, 1, 0) > 0) watched->ready();
    }
}

void VirtualTime::drain() {
    lookAtDescriptors();
    for (;;) {
        std::function<void()> work;
        {
            const std::lock_guard lock(mutex_);
            if (posted_.empty()) return;
            work = std::move(posted_.front());
            posted_.pop_front();
        }
        work();
    }
}

void VirtualTime::stall(double seconds) {
    const std::lock_guard lock(mutex_);
    now_ += seconds;
}

void VirtualTime::advance(double seconds) {
    const double end = now() + seconds;
    for (;;) {
        drain();
        timers_.remove_if([](const auto& timer) { return timer->cancelled; });
        const auto next = std::min_element(timers_.begin(), timers_.end(),
                                           [](const auto& a, const auto& b) { return a->due < b->due; });
        if (next == timers_.end() || (*next)->due > end) break;
        const std::shared_ptr<Scheduled> timer = *next;
        {
            const std::lock_guard lock(mutex_);
            now_ = std::max(now_, timer->due);
        }
        if (timer->interval > 0) {
            // Missed ticks are skipped, the phase is kept.
            const double late = now() - timer->due;
            timer->due += timer->interval * (1 + std::floor(late / timer->interval));
        } else {
            timer->cancelled = true;
        }
        timer->action();
    }
    const std::lock_guard lock(mutex_);
    now_ = std::max(now_, end);
}

}  // namespace platform

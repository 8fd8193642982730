#include "Cobaltreel/CommandLine/Interrupt.hpp"

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <cstdint>
#include <mutex>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace cobaltreel {

struct Interrupt::State {
    std::mutex mutex;
    std::function<void()> onInterrupt;
    bool happened = false;
    sigset_t signals{};
    sigset_t before{};
    platform::UniqueFd signalFd;
    platform::UniqueFd endFd;
    platform::NamedThread thread;

    /// False when no signal is waiting.
    bool takeSignal() const {
        signalfd_siginfo info{};
        return read(signalFd.get(), &info, sizeof info) == sizeof info;
    }
    void listen() {
        for (;;) {
            pollfd waiting[2]{{signalFd.get(), POLLIN, 0}, {endFd.get(), POLLIN, 0}};
            if (poll(waiting, 2, -1) < 0) continue;
            if (waiting[1].revents != 0) return;
            if (!takeSignal()) continue;
            const std::lock_guard lock(mutex);
            if (!std::exchange(happened, true) && onInterrupt) onInterrupt();
        }
    }
};

Interrupt::Interrupt() : state_(std::make_unique<State>()) {
    State& state = *state_;
    sigemptyset(&state.signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&state.signals, signal);
    pthread_sigmask(SIG_BLOCK, &state.signals, &state.before);
    state.signalFd = platform::UniqueFd(signalfd(-1, &state.signals, SFD_CLOEXEC | SFD_NONBLOCK));
    state.endFd = platform::UniqueFd(eventfd(0, EFD_CLOEXEC));
    state.thread = platform::NamedThread("interrupt", [&state] { state.listen(); });
}

Interrupt::~Interrupt() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(state_->endFd.get(), &one, sizeof one);
    state_->thread.join();
    // A signal that came too late must not end the program before it has said what it did.
    while (state_->takeSignal()) {
    }
    pthread_sigmask(SIG_SETMASK, &state_->before, nullptr);
}

Interrupt::Handling Interrupt::handle(std::function<void()> onInterrupt) {
    setHandler(std::move(onInterrupt));
    return Handling(*this);
}

void Interrupt::setHandler(std::function<void()> onInterrupt) {
    const std::lock_guard lock(state_->mutex);
    state_->onInterrupt = std::move(onInterrupt);
    if (state_->happened && state_->onInterrupt) state_->onInterrupt();
}

bool Interrupt::happened() const {
    const std::lock_guard lock(state_->mutex);
    return state_->happened;
}

}  // namespace cobaltreel

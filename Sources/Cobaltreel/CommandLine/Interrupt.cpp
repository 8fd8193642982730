#include "Cobaltreel/CommandLine/Interrupt.hpp"

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <cstdint>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace cobaltreel {

struct Interrupt::State {
    std::function<void()> onInterrupt;
    sigset_t signals{};
    sigset_t before{};
    platform::UniqueFd signalFd;
    platform::UniqueFd endFd;
    std::atomic<bool> happened{false};
    platform::NamedThread thread;

    void listen() {
        for (;;) {
            pollfd waiting[2]{{signalFd.get(), POLLIN, 0}, {endFd.get(), POLLIN, 0}};
            if (poll(waiting, 2, -1) < 0) continue;
            if (waiting[1].revents != 0) return;
            signalfd_siginfo info{};
            if (read(signalFd.get(), &info, sizeof info) != sizeof info) continue;
            if (!happened.exchange(true)) onInterrupt();
        }
    }
};

Interrupt::Interrupt(std::function<void()> onInterrupt) : state_(std::make_unique<State>()) {
    State& state = *state_;
    state.onInterrupt = std::move(onInterrupt);
    sigemptyset(&state.signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&state.signals, signal);
    // Threads started from here on inherit the mask, so the signals reach nobody but the descriptor.
    pthread_sigmask(SIG_BLOCK, &state.signals, &state.before);
    state.signalFd = platform::UniqueFd(signalfd(-1, &state.signals, SFD_CLOEXEC));
    state.endFd = platform::UniqueFd(eventfd(0, EFD_CLOEXEC));
    state.thread = platform::NamedThread("interrupt", [&state] { state.listen(); });
}

Interrupt::~Interrupt() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(state_->endFd.get(), &one, sizeof one);
    state_->thread.join();
    pthread_sigmask(SIG_SETMASK, &state_->before, nullptr);
}

bool Interrupt::happened() const { return state_->happened; }

}  // namespace cobaltreel

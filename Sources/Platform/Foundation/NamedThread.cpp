#include "Platform/Foundation/NamedThread.hpp"

#include <csignal>
#include <utility>

#include <pthread.h>

namespace platform {

NamedThread::NamedThread(const std::string& name, std::function<void()> body)
    : thread_([name, body = std::move(body)] {
          constexpr std::size_t kernelLimit = 15;
          const std::string shown =
              name.size() <= kernelLimit ? name : name.substr(name.size() - kernelLimit);
          pthread_setname_np(pthread_self(), shown.c_str());
          // Writing to a server that has gone, or whose socket is shut down to stop a wait, is an error, not
          // the end.
          sigset_t brokenPipe;
          sigemptyset(&brokenPipe);
          sigaddset(&brokenPipe, SIGPIPE);
          pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
          body();
      }) {}

NamedThread& NamedThread::operator=(NamedThread&& other) noexcept {
    join();
    thread_ = std::move(other.thread_);
    return *this;
}

void NamedThread::join() {
    if (thread_.joinable()) thread_.join();
}

}  // namespace platform

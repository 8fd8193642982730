#include "Platform/Foundation/NamedThread.hpp"

#include <utility>

#include <pthread.h>

namespace platform {

NamedThread::NamedThread(const std::string& name, std::function<void()> body)
    : thread_([name, body = std::move(body)] {
          constexpr std::size_t kernelLimit = 15;
          const std::string shown =
              name.size() <= kernelLimit ? name : name.substr(name.size() - kernelLimit);
          pthread_setname_np(pthread_self(), shown.c_str());
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

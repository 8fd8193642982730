#pragma once

#include <functional>
#include <string>
#include <thread>

namespace platform {

/// A thread with a name (cut to the kernel's 15 characters, its last ones kept) that is joined when
/// its owner destroys it. The body must not throw. SIGPIPE is blocked in it: a write to a closed socket fails
/// with EPIPE.
class NamedThread {
  public:
    NamedThread() = default;
    NamedThread(const std::string& name, std::function<void()> body);
    ~NamedThread() { join(); }
    NamedThread(NamedThread&&) = default;
    NamedThread& operator=(NamedThread&& other) noexcept;

    void join();
    bool isCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }

  private:
    std::thread thread_;
};

}  // namespace platform

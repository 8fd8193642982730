#pragma once

#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <coroutine>
#include <exception>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace cobaltreel {

/// Awaits an operation of the host that ends by calling back with an error or none, on any thread. The
/// coroutine goes on on the main thread and receives what was called back with.
class AwaitCompletion {
  public:
    using Result = std::optional<platform::PlatformError>;
    using Operation = std::function<void(std::function<void(Result)>)>;

    AwaitCompletion(platform::MainLoop& mainLoop, Operation operation)
        : mainLoop_(mainLoop), operation_(std::move(operation)) {}

    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> continuation) {
        operation_([this, continuation](Result result) {
            result_ = std::move(result);
            mainLoop_.post([continuation] { continuation.resume(); });
        });
    }
    Result await_resume() { return std::move(result_); }

  private:
    platform::MainLoop& mainLoop_;
    Operation operation_;
    Result result_;
};

/// Awaits work that would block, done on a serial queue. An exception of the work is thrown where it is
/// awaited; a full queue runs nothing and throws PlatformError("Cobaltreel", 3).
class AwaitOnQueue {
  public:
    AwaitOnQueue(platform::MainLoop& mainLoop, platform::SerialQueue& queue, std::function<void()> work)
        : mainLoop_(mainLoop), queue_(queue), work_(std::move(work)) {}

    bool await_ready() const { return false; }
    bool await_suspend(std::coroutine_handle<> continuation) {
        const bool queued = queue_.async([this, continuation] {
            try {
                work_();
            } catch (...) {
                failure_ = std::current_exception();
            }
            mainLoop_.post([continuation] { continuation.resume(); });
        });
        if (!queued)
            failure_ = std::make_exception_ptr(
                platform::PlatformError("Cobaltreel", 3, "the queue " + queue_.label() + " is full"));
        return queued;
    }
    void await_resume() {
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    platform::MainLoop& mainLoop_;
    platform::SerialQueue& queue_;
    std::function<void()> work_;
    std::exception_ptr failure_;
};

}  // namespace cobaltreel

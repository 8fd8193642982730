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

/// Awaits an operation that ends by calling back, once, with an answer, on any thread. The coroutine goes on
/// on the main thread, in a later turn, and receives the answer.
template <typename Answer>
class AwaitAnswer {
  public:
    using Operation = std::function<void(std::function<void(Answer)>)>;

    AwaitAnswer(platform::MainLoop& mainLoop, Operation operation)
        : mainLoop_(mainLoop), operation_(std::move(operation)) {}

    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> continuation) {
        operation_([this, continuation](Answer answer) {
            answer_ = std::move(answer);
            mainLoop_.post([continuation] { continuation.resume(); });
        });
    }
    Answer await_resume() { return std::move(answer_); }

  private:
    platform::MainLoop& mainLoop_;
    Operation operation_;
    Answer answer_{};
};

/// Awaits an operation of the host that calls back with an error or none.
using AwaitCompletion = AwaitAnswer<std::optional<platform::PlatformError>>;

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

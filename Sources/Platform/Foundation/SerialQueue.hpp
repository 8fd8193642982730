#pragma once

#include "Platform/Foundation/BoundedQueue.hpp"
#include "Platform/Foundation/NamedThread.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Work that may be taken back until it has begun. Cancelling is safe on any thread.
class WorkItem {
  public:
    explicit WorkItem(std::function<void()> body);
    void cancel();
    /// Runs the body unless cancelled; the queue calls this.
    void perform() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

/// A serial execution context: one thread, named by the dotted label, that runs work in the order
/// given. Destroying the queue runs what was accepted, then ends the thread. Work must not throw.
class SerialQueue {
  public:
    explicit SerialQueue(std::string label, std::size_t capacity = 64);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// Queues work; false (and the work is dropped) when `capacity` items are waiting. Never waits.
    bool async(std::function<void()> work);
    bool async(const WorkItem& item);
    /// Runs work on the queue and waits for it. Must not be called on the queue itself.
    void sync(const std::function<void()>& work);

    const std::string& label() const { return label_; }
    bool isCurrent() const { return thread_.isCurrent(); }

  private:
    std::string label_;
    BoundedQueue<std::function<void()>> queue_;
    NamedThread thread_;
};

}  // namespace platform

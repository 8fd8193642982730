#include "Platform/Foundation/SerialQueue.hpp"

#include <atomic>
#include <future>
#include <utility>

namespace platform {

struct WorkItem::State {
    std::function<void()> body;
    std::atomic<bool> cancelled{false};
};

WorkItem::WorkItem(std::function<void()> body) : state_(std::make_shared<State>()) {
    state_->body = std::move(body);
}

void WorkItem::cancel() { state_->cancelled = true; }

void WorkItem::perform() const {
    if (!state_->cancelled) state_->body();
}

SerialQueue::SerialQueue(std::string label, std::size_t capacity)
    : label_(std::move(label)), queue_(capacity), thread_(label_, [this] {
          while (auto work = queue_.pop()) (*work)();
      }) {}

SerialQueue::~SerialQueue() {
    queue_.close();
    thread_.join();
}

bool SerialQueue::async(std::function<void()> work) { return queue_.tryPush(std::move(work)); }

bool SerialQueue::async(const WorkItem& item) {
    return queue_.tryPush([item] { item.perform(); });
}

void SerialQueue::sync(const std::function<void()>& work) {
    std::promise<void> done;
    auto finished = done.get_future();
    if (queue_.push([&] {
            work();
            done.set_value();
        }))
        finished.wait();
}

}  // namespace platform

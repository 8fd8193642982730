#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace platform {

/// A queue between two threads that never holds more than `capacity` items. Closing it lets the
/// reader take what is left and refuses what is offered after; discarding also empties it.
template <typename Item>
class BoundedQueue {
  public:
    explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

    /// Takes the item if there is room; false when full or closed. Never waits.
    bool tryPush(Item item) {
        {
            const std::lock_guard lock(mutex_);
            if (closed_ || items_.size() >= capacity_) return false;
            items_.push_back(std::move(item));
        }
        changed_.notify_all();
        return true;
    }

    /// Waits for room; false when the queue is closed.
    bool push(Item item) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return closed_ || items_.size() < capacity_; });
            if (closed_) return false;
            items_.push_back(std::move(item));
        }
        changed_.notify_all();
        return true;
    }

    /// Waits for an item; absent once the queue is closed and empty.
    std::optional<Item> pop() {
        std::optional<Item> item;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return closed_ || !items_.empty(); });
            if (items_.empty()) return std::nullopt;
            item.emplace(std::move(items_.front()));
            items_.pop_front();
        }
        changed_.notify_all();
        return item;
    }

    void close() {
        {
            const std::lock_guard lock(mutex_);
            closed_ = true;
        }
        changed_.notify_all();
    }

    void discard() {
        std::deque<Item> dropped;
        {
            const std::lock_guard lock(mutex_);
            closed_ = true;
            dropped.swap(items_);
        }
        changed_.notify_all();
    }

  private:
    const std::size_t capacity_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Item> items_;
    bool closed_ = false;
};

}  // namespace platform

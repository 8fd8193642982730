#pragma once

#include "Platform/Imaging/SampleBuffer.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace platform::ffmpeg {

/// The samples that wait for an encoder, bounded by the sum of their weights: pictures count one each,
/// sound counts its seconds. Closing it lets the encoder take what is left.
class SampleQueue {
  public:
    explicit SampleQueue(double capacity) : capacity_(capacity) {}

    /// Takes the sample if the queue has room (a sample may overshoot the capacity); never waits.
    bool tryPush(SampleBuffer sample, double weight) {
        const std::lock_guard lock(mutex_);
        if (!hasRoomLocked()) return false;
        samples_.emplace_back(std::move(sample), weight);
        weight_ += weight;
        changed_.notify_all();
        return true;
    }

    struct Taken {
        std::optional<SampleBuffer> sample;  ///< absent when none came in time, or none will
        bool ended = false;                  ///< none will come any more
    };
    /// Waits at most `limit` for a sample.
    Taken pop(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [this] { return closed_ || !samples_.empty(); });
        if (samples_.empty()) return {std::nullopt, closed_};
        Taken taken{std::move(samples_.front().first), false};
        weight_ = samples_.size() == 1 ? 0 : weight_ - samples_.front().second;
        samples_.pop_front();
        changed_.notify_all();
        return taken;
    }

    bool hasRoom() const {
        const std::lock_guard lock(mutex_);
        return hasRoomLocked();
    }
    /// Waits at most `limit` for room or for the end; true when there is room.
    bool waitForRoom(std::chrono::duration<double> limit) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [this] { return closed_ || hasRoomLocked(); });
        return hasRoomLocked();
    }

    /// No sample follows.
    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }
    /// Closes the queue and drops what waits in it.
    void discard() {
        std::deque<std::pair<SampleBuffer, double>> dropped;
        const std::lock_guard lock(mutex_);
        closed_ = true;
        dropped.swap(samples_);
        weight_ = 0;
        changed_.notify_all();
    }

  private:
    bool hasRoomLocked() const { return !closed_ && weight_ < capacity_; }

    const double capacity_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::pair<SampleBuffer, double>> samples_;
    double weight_ = 0;
    bool closed_ = false;
};

}  // namespace platform::ffmpeg

#pragma once

#include "Platform/Foundation/BoundedQueue.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Media/AssetReader.hpp"

#include <atomic>
#include <mutex>
#include <string>
#include <utility>

namespace platform::ffmpeg {

/// A reader whose samples are made ahead on a thread of its own.
class DecodeAheadReader : public AssetReader {
  public:
    Status status() const override;
    std::optional<PlatformError> error() const override;
    bool startReading() override;
    std::optional<SampleBuffer> copyNextSampleBuffer() override;
    void cancelReading() override;

  protected:
    DecodeAheadReader(std::size_t queueLength, std::string threadName)
        : queue_(queueLength), threadName_(std::move(threadName)) {}

    /// Opens what opens late; throws when reading cannot begin. Caller's thread.
    virtual void prepare() {}
    /// Makes samples until the end of the range, or until `deliver` says no. Throws when decoding dies.
    /// The reader's thread.
    virtual void produce() = 0;
    /// Hands a sample on, waiting for room; false when nobody wants more.
    bool deliver(SampleBuffer sample) { return queue_.push(std::move(sample)); }
    bool isStopped() const { return stopped_; }
    /// Makes a waiting read of the file end. Any thread.
    virtual void interrupt() = 0;
    /// Ends the thread. The destructor of every class that overrides `produce` calls it first.
    void stop();

  private:
    void run();

    mutable std::mutex mutex_;
    Status status_ = Status::unknown;
    std::optional<PlatformError> error_;
    std::atomic<bool> stopped_{false};
    BoundedQueue<SampleBuffer> queue_;
    std::string threadName_;
    NamedThread thread_;
};

}  // namespace platform::ffmpeg

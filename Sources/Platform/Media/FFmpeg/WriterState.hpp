#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/MovieMuxer.hpp"
#include "Platform/Media/FFmpeg/SampleQueue.hpp"

#include <mutex>
#include <optional>
#include <vector>

namespace platform::ffmpeg {

/// What a writer and its inputs share: the file, the status and the start of the session. Any thread.
class WriterState {
  public:
    WriterState(const std::filesystem::path& path, FileType type) : muxer(path, type) {}

    MovieMuxer muxer;

    AssetWriter::Status status() const {
        const std::lock_guard lock(mutex_);
        return status_;
    }
    bool isWriting() const { return status() == AssetWriter::Status::writing; }
    std::optional<PlatformError> error() const {
        const std::lock_guard lock(mutex_);
        return error_;
    }
    /// From one status to another; false when it is not in the first.
    bool advance(AssetWriter::Status from, AssetWriter::Status to) {
        const std::lock_guard lock(mutex_);
        if (status_ != from) return false;
        status_ = to;
        return true;
    }
    /// Ends writing with an error or a cancellation: what waits in the queues is dropped and nobody
    /// waits any more. The first end counts.
    void end(AssetWriter::Status status, std::optional<PlatformError> error) {
        {
            const std::lock_guard lock(mutex_);
            const bool open =
                status_ == AssetWriter::Status::writing || status_ == AssetWriter::Status::unknown;
            if (!open) return;
            status_ = status;
            error_ = std::move(error);
        }
        for (SampleQueue* queue : queues_) queue->discard();
    }

    /// Before any thread runs.
    void addQueue(SampleQueue& queue) { queues_.push_back(&queue); }

    void startSession(MediaTime time) {
        const std::lock_guard lock(mutex_);
        if (sessionStart_) return;
        muxer.noteSessionStart(time.seconds());
        sessionStart_ = time;
    }
    std::optional<MediaTime> sessionStart() const {
        const std::lock_guard lock(mutex_);
        return sessionStart_;
    }

  private:
    mutable std::mutex mutex_;
    AssetWriter::Status status_ = AssetWriter::Status::unknown;
    std::optional<PlatformError> error_;
    std::optional<MediaTime> sessionStart_;
    std::vector<SampleQueue*> queues_;
};

}  // namespace platform::ffmpeg

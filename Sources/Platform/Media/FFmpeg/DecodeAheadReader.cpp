#include "Platform/Media/FFmpeg/DecodeAheadReader.hpp"

#include <exception>

namespace platform::ffmpeg {

AssetReader::Status DecodeAheadReader::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

std::optional<PlatformError> DecodeAheadReader::error() const {
    const std::lock_guard lock(mutex_);
    return status_ == Status::failed ? error_ : std::nullopt;
}

bool DecodeAheadReader::startReading() {
    if (status() != Status::unknown) return false;
    try {
        prepare();
        thread_ = NamedThread(threadName_, [this] { run(); });
        const std::lock_guard lock(mutex_);
        status_ = Status::reading;
        return true;
    } catch (const PlatformError& problem) {
        const std::lock_guard lock(mutex_);
        error_ = problem;
        status_ = Status::failed;
        return false;
    }
}

std::optional<SampleBuffer> DecodeAheadReader::copyNextSampleBuffer() {
    if (status() != Status::reading) return std::nullopt;
    if (auto sample = queue_.pop()) return sample;
    const std::lock_guard lock(mutex_);
    status_ = stopped_ ? Status::cancelled : error_ ? Status::failed : Status::completed;
    return std::nullopt;
}

void DecodeAheadReader::cancelReading() {
    stopped_ = true;
    interrupt();
    queue_.discard();
}

void DecodeAheadReader::run() {
    std::optional<PlatformError> problem;
    try {
        produce();
    } catch (const PlatformError& thrown) {
        problem = thrown;
    } catch (const std::exception& thrown) {
        problem.emplace("FFmpeg", -1, std::string("Reading a movie failed: ") + thrown.what() + ".");
    }
    {
        const std::lock_guard lock(mutex_);
        error_ = problem;
    }
    queue_.close();
}

void DecodeAheadReader::stop() {
    cancelReading();
    thread_.join();
}

}  // namespace platform::ffmpeg

#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <optional>

namespace platform {

/// Delivers the decoded samples of one output within a time range. Decoding runs ahead on a thread of
/// the reader's own with a bounded queue. One caller at a time; destroying a reader ends its thread.
class AssetReader {
  public:
    enum class Status { unknown, reading, completed, failed, cancelled };

    virtual ~AssetReader() = default;
    /// False when reading cannot begin; `error` then says why.
    virtual bool startReading() = 0;
    virtual Status status() const = 0;
    virtual std::optional<PlatformError> error() const = 0;
    /// The next sample in presentation order, its time on the movie's (or composition's) timeline;
    /// absent at the end of the range or on a failure, which `status` tells apart. A damaged movie ends
    /// where nothing more can be made of it; it fails when it cannot be read, or not at all be decoded.
    /// Waits for the decoder.
    virtual std::optional<SampleBuffer> copyNextSampleBuffer() = 0;
    /// Makes a waiting and every coming `copyNextSampleBuffer` return nothing. Any thread.
    virtual void cancelReading() = 0;
};

}  // namespace platform

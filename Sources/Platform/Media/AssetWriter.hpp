#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

enum class FileType {
    quickTimeMovie,  ///< written in fragments, for its user alone: whole up to the last second after a crash
    mpeg4,           ///< index in front, ready for the network
    webm,            ///< the same
    gif,             ///< one picture track of no codec, without end; no sound
};
enum class VideoCodec { hevc, h264, vp9 };
enum class AudioCodec { aac, opus };

struct VideoSettings {
    VideoCodec codec = VideoCodec::h264;
    int width = 0;  ///< pixels; an odd side is coded one larger, its last line repeated
    int height = 0;
    /// Bits a second: a ceiling over a few seconds, below which the quality is constant. 0: none.
    std::int64_t averageBitRate = 0;
    double expectedFrameRate = 30;  ///< what the rate control reckons with; true times are kept
    bool h264HighProfile = false;   ///< High, automatic level
    bool expectsMediaDataInRealTime = false;
    /// The colors of the track. Pictures of another matrix are converted, at a cost.
    ColorMatrix matrix = ColorMatrix::bt709Limited;
    /// Seconds that an mpeg4 or webm file will have at most, when that is known before: room is kept for the
    /// index in front. Otherwise (0) the whole file is moved up at its end.
    double expectedDuration = 0;
};

struct AudioSettings {
    int sampleRate = 48000;
    int channels = 2;
    std::int64_t bitRate = 128000;
    bool expectsMediaDataInRealTime = false;
    AudioCodec codec = AudioCodec::aac;
};

/// A named part of a movie, in seconds on the file's timeline.
struct Chapter {
    double start = 0;
    double end = 0;
    std::string title;  ///< UTF-8
};

/// One track being written: a bounded queue and an encoder thread. Appended from one thread at a time.
class AssetWriterInput {
  public:
    virtual ~AssetWriterInput() = default;
    /// The queue has room.
    virtual bool isReadyForMoreMediaData() const = 0;
    /// Waits at most `seconds` for room (or for the writer to fail) and tells whether there is room.
    virtual bool waitUntilReady(double seconds) = 0;
    /// Queues a sample; its time is on the source timeline of `startSession`. Pictures of another size
    /// are refused. Sound of any rate and channel count is converted; a gap in its times becomes
    /// silence of the same length, a slow drift is followed by resampling. False when the writer is not
    /// writing, the queue is full or the sample does not fit.
    virtual bool append(const SampleBuffer& sample) = 0;
    /// No sample follows.
    virtual void markAsFinished() = 0;
    /// Buffers of the encoder's own layout (i420 of the track's size), so that appending copies
    /// nothing. Null for sound and before `startWriting`.
    virtual PixelBufferPool* pixelBufferPool() = 0;
};

/// Writes a movie file. Main or task thread; not shared. Destroying a writer that is still writing
/// cancels it and leaves the file as it is.
class AssetWriter {
  public:
    enum class Status { unknown, writing, completed, failed, cancelled };

    virtual ~AssetWriter() = default;
    /// Inputs are added before `startWriting` and live as long as the writer.
    virtual AssetWriterInput& addVideoInput(const VideoSettings& settings) = 0;
    virtual AssetWriterInput& addAudioInput(const AudioSettings& settings) = 0;
    /// What the file tells players of its parts, in ascending order; before `startWriting`. A kind of file
    /// that has no chapters leaves them out.
    virtual void setChapters(const std::vector<Chapter>& chapters) = 0;
    /// Opens the encoders and the file; false on failure, which `error` explains.
    virtual bool startWriting() = 0;
    /// The source time that becomes 0 on the file's timeline. Samples before it are cut away.
    virtual void startSession(MediaTime atSourceTime) = 0;
    virtual Status status() const = 0;
    virtual std::optional<PlatformError> error() const = 0;
    /// Brings all that has been encoded onto the disk, for a file that is written in fragments. Returns the
    /// source time at which the longest track then ends in the file; absent while it holds nothing, and once
    /// writing has failed, which `status` tells. Waits for the disk, not for the encoders; any thread.
    virtual std::optional<MediaTime> flush() = 0;
    /// Ends the inputs, drains the encoders, completes the file, then calls `done` on a thread of the
    /// writer's; `status` is completed or failed by then. `done` must not destroy the writer.
    virtual void finishWriting(std::function<void()> done) = 0;
    /// Stops at once. The partial file stays for the caller to remove.
    virtual void cancelWriting() = 0;
};

}  // namespace platform

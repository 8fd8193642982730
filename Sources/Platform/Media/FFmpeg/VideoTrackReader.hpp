#pragma once

#include "Platform/Media/FFmpeg/DecodeAheadReader.hpp"
#include "Platform/Media/FFmpeg/MovieInput.hpp"
#include "Platform/Media/FFmpeg/PictureConversion.hpp"

#include <optional>

namespace platform::ffmpeg {

/// Decodes the frames of one video track: the one on screen at the range's start, then every frame
/// before its end.
class VideoTrackReader final : public DecodeAheadReader {
  public:
    /// Throws PlatformError when the file cannot be opened or decoded.
    VideoTrackReader(const std::filesystem::path& path, const AssetTrack& track, const TimeRange& range,
                     PixelFormat format);
    ~VideoTrackReader() override;

  private:
    void produce() override;
    void interrupt() override { input_.interrupt(); }
    bool decode(const AVPacket* packet);
    bool take(const AVFrame& frame);
    bool deliverHeld();
    bool deliverFrame(const AVFrame& frame);

    MovieInput input_;
    CodecPtr decoder_;
    TimeRange range_;
    PixelFormat format_;
    PictureConversion conversion_;
    FramePtr frame_ = makeFrame();
    FramePtr held_;  // the latest frame at or before the start, until a later one comes
    std::optional<std::int64_t> lastTimestamp_;
    std::optional<PlatformError> damage_;  // since the last good frame
};

}  // namespace platform::ffmpeg

#pragma once

#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/RateGovernor.hpp"
#include "Platform/Media/FFmpeg/VideoEncoder.hpp"
#include "Platform/Media/FFmpeg/WriterInput.hpp"

#include <cstdint>
#include <optional>

namespace platform::ffmpeg {

/// Pictures into a movie. True times are kept to 1/90000 s; a picture that is not later than the one
/// before is left out. In real time the quality is constant under a ceiling of the settings' bit rate over
/// real seconds: what moves too much is quantised coarser, and refined once it stands still.
class VideoWriterInput final : public WriterInput {
  public:
    VideoWriterInput(WriterState& state, const VideoSettings& settings);

    PixelBufferPool* pixelBufferPool() override { return pool_ ? &*pool_ : nullptr; }
    void open() override;

  private:
    bool accepts(const SampleBuffer& sample) const override;
    double weight(const SampleBuffer&) const override { return 1; }
    void encode(const SampleBuffer& sample, double time) override;
    void encodeRest() override;
    void pause() override;
    bool isWanted(const AVPacket& packet) override;

    void feedEncoder(FramePtr picture, double coarser);
    void encodePicture(const ConstPixelBufferRef& picture, std::int64_t timestamp);
    bool isKeyFrameDue(std::int64_t timestamp) const;

    VideoSettings settings_;
    VideoEncoderPtr encoder_;
    std::optional<PixelBufferPool> pool_;
    PictureConversion conversion_;
    std::optional<RateGovernor> governor_;  // in real time
    std::int64_t lastTime_ = -1;
    std::optional<std::int64_t> lastKeyFrame_;
    int picturesSinceKeyFrame_ = 0;
    /// The last picture while it stands in the movie coarser than it should, or not at all.
    ConstPixelBufferRef coarse_;
    ConstPixelBufferRef lastPicture_;  // in real time
    std::int64_t lastEncoded_ = -1;    // time of the last picture that the encoder has returned
    /// The last time is one of a repetition; a picture that bears an earlier one still has to be shown.
    bool hasRepeated_ = false;
};

}  // namespace platform::ffmpeg

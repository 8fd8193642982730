#pragma once

#include "Platform/Media/FFmpeg/PictureConversion.hpp"
#include "Platform/Media/FFmpeg/WriterInput.hpp"

#include <cstdint>
#include <optional>

namespace platform::ffmpeg {

/// Pictures into a movie. True times are kept to 1/90000 s; a picture that is not later than the one
/// before is left out.
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

    VideoSettings settings_;
    std::optional<PixelBufferPool> pool_;
    PictureConversion conversion_;
    std::int64_t lastTime_ = -1;
    std::optional<std::int64_t> lastKeyFrame_;
};

}  // namespace platform::ffmpeg

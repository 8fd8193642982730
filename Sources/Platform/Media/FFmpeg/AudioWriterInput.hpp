#pragma once

#include "Platform/Media/FFmpeg/AudioResync.hpp"
#include "Platform/Media/FFmpeg/WriterInput.hpp"

#include <cstdint>

namespace platform::ffmpeg {

/// The library's encoder; null when it has none.
const AVCodec* audioEncoder(AudioCodec codec);
std::string nameOf(AudioCodec codec);

/// Sound into a movie.
class AudioWriterInput final : public WriterInput {
  public:
    AudioWriterInput(WriterState& state, const AudioSettings& settings);

    void open() override;

  private:
    bool accepts(const SampleBuffer& sample) const override;
    double weight(const SampleBuffer& sample) const override { return sample.audio->duration(); }
    void encode(const SampleBuffer& sample, double time) override;
    void encodeRest() override;
    bool isWanted(const AVPacket& packet) override;
    void encodeFrames(int atLeast);
    void feedEncoder(const AVFrame* frame);

    AudioSettings settings_;
    CodecPtr encoder_;
    AudioResync conformer_;
    std::int64_t encodedFrames_ = 0;
};

}  // namespace platform::ffmpeg

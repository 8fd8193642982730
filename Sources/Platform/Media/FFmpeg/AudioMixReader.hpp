#pragma once

#include "Platform/Media/FFmpeg/AudioMixer.hpp"
#include "Platform/Media/FFmpeg/DecodeAheadReader.hpp"

#include <optional>

namespace platform::ffmpeg {

/// Reads a composition's mix from its start to its end in runs of 1024 frames, the last one shorter.
class AudioMixReader final : public DecodeAheadReader {
  public:
    explicit AudioMixReader(Composition composition);
    ~AudioMixReader() override;

  private:
    void prepare() override;
    void produce() override;
    void interrupt() override;

    Composition composition_;
    std::optional<AudioMixer> mixer_;
};

}  // namespace platform::ffmpeg

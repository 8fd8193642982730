#pragma once

#include "Platform/Media/AudioMix.hpp"
#include "Platform/Media/Composition.hpp"
#include "Platform/Media/FFmpeg/AudioTrackDecoder.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace platform::ffmpeg {

/// The mix of files, decoded as it is read.
class AudioMixer final : public AudioMix {
  public:
    /// Opens every file of the composition; throws PlatformError when one cannot be opened or decoded.
    explicit AudioMixer(const Composition& composition);

    std::int64_t frameCount() const override { return frameCount_; }
    void read(std::int64_t position, std::span<float> target) override;
    void interrupt() override;
    /// Why a file could not be read on; what it should have given since is silent.
    std::optional<PlatformError> error() const;

  private:
    struct Segment {
        std::int64_t start;  // in frames of the composition
        std::int64_t end;
        std::int64_t sourceStart;  // in frames of the movie
        std::unique_ptr<AudioTrackDecoder> decoder;
    };

    std::vector<Segment> segments_;
    std::int64_t frameCount_;
};

}  // namespace platform::ffmpeg

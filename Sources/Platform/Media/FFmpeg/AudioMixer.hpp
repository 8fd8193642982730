#pragma once

#include "Platform/Media/Composition.hpp"
#include "Platform/Media/FFmpeg/AudioTrackDecoder.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform::ffmpeg {

/// The sum of a composition's audio tracks as 48 kHz stereo floats, computed on demand at any place.
/// One thread, but for `interrupt`.
class AudioMixer {
  public:
    /// Opens every file of the composition; throws PlatformError when one cannot be opened or decoded.
    explicit AudioMixer(const Composition& composition);

    /// The composition's length in frames.
    std::int64_t frameCount() const { return frameCount_; }
    /// Fills `target`, whole stereo frames, with the mix from frame `position` on, clipped to -1…1;
    /// silence where no segment lies. Going on from the last position is cheap, elsewhere costs a seek.
    void read(std::int64_t position, std::span<float> target);

    /// Makes waiting reads end. Any thread.
    void interrupt();

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

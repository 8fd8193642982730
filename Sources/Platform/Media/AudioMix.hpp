#pragma once

#include <cstdint>
#include <span>

namespace platform {

/// The sum of a composition's audio tracks as 48 kHz stereo floats, computed on demand at any place.
/// One thread at a time, but for `interrupt`.
class AudioMix {
  public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;

    virtual ~AudioMix() = default;
    /// The composition's length in frames, its pictures included.
    virtual std::int64_t frameCount() const = 0;
    /// Fills `target`, whole stereo frames, with the mix from frame `position` on, clipped to -1…1;
    /// silence where no segment lies. Going on from the last position is cheap, elsewhere costs a seek.
    virtual void read(std::int64_t position, std::span<float> target) = 0;
    /// Makes waiting and coming reads end early, with silence. Any thread.
    virtual void interrupt() = 0;
};

}  // namespace platform

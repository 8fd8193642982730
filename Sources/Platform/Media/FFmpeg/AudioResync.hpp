#pragma once

#include "Platform/Imaging/SampleBuffer.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <cstdint>
#include <functional>
#include <optional>

namespace platform::ffmpeg {

/// Turns timed runs of sound of any format into one uninterrupted stream of planar floats whose place
/// on the timeline follows the runs' times: a jump ahead becomes silence, an overlap is cut, and the
/// slow drift between the source's clock and the host's is followed by resampling. One thread.
class AudioResync {
  public:
    /// `onOutput` is called whenever frames were added to `output`, at least once a second of sound, so
    /// that a long silence needs no memory. `followsDrift` is for sources with a clock of their own.
    AudioResync(int sampleRate, int channels, bool followsDrift, std::function<void()> onOutput);

    /// Adds a run that begins `time` seconds after the timeline's zero; what lies before zero is cut.
    /// Throws PlatformError when the format cannot be converted.
    void add(const AudioBuffer& buffer, double time);
    /// Brings out what the resampler still holds.
    void finish() { drain(); }

    /// The stream's frames that nobody has taken yet.
    AVAudioFifo* output() const { return output_.get(); }
    /// Where the stream begins, in frames after zero; absent before the first run.
    std::optional<std::int64_t> firstFrame() const { return first_; }

  private:
    void openResampler(const AudioFormat& format);
    void drain();
    void convert(const std::uint8_t* data, int frames);
    void addSilence(std::int64_t frames);
    void trackDrift(double offset, double runSeconds);
    double delay() const;

    const int sampleRate_;
    const int channels_;
    const bool followsDrift_;
    std::function<void()> onOutput_;
    AudioFifoPtr output_;
    SwrPtr resampler_;
    std::optional<AudioFormat> format_;
    std::optional<std::int64_t> first_;
    std::int64_t position_ = 0;  // frames after zero where the next output goes
    bool overlapping_ = false;   // the last run lay wholly before the output's end
    double drift_ = 0;           // smoothed offset of the source against the output, in frames
};

}  // namespace platform::ffmpeg

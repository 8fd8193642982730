#pragma once

#include "Platform/Media/AudioMix.hpp"
#include "Platform/Media/FFmpeg/MovieInput.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace platform::ffmpeg {

inline constexpr int mixSampleRate = AudioMix::sampleRate;
inline constexpr int mixChannels = AudioMix::channels;

/// The sound of one track as 48 kHz stereo floats that can be read at any frame of the movie's
/// timeline. Where the track has no sound, or it cannot be decoded, there is silence. One thread.
class AudioTrackDecoder {
  public:
    /// Throws PlatformError when the file cannot be opened or decoded.
    AudioTrackDecoder(const std::filesystem::path& path, int trackIndex);

    /// Adds the frames from `position` on (in 1/48000 s of the movie's timeline) to `target`, which
    /// holds whole stereo frames. Reading on from where the last call ended is cheap, going elsewhere
    /// costs a seek.
    void addFrames(std::int64_t position, std::span<float> target);

    /// Why the track's file could not be read on, the first time; what was wanted of it since is silent.
    /// Absent for a file that is damaged there: that is all there is of it.
    const std::optional<PlatformError>& error() const { return error_; }

    /// Makes a waiting read end. Any thread.
    void interrupt() { input_.interrupt(); }

  private:
    void seek(std::int64_t position);
    bool fill();
    bool decodeFrame();
    bool continuesRun() const;
    void startRun();
    void convert(const AVFrame* frame);
    void prepareResampler(const AVFrame& frame);
    std::int64_t storedFrames() const;
    void dropStored(std::int64_t frames);

    MovieInput input_;
    CodecPtr decoder_;
    SwrPtr resampler_;
    PacketPtr packet_ = makePacket();
    FramePtr frame_ = makeFrame();
    bool framePending_ = false;  // `frame_` begins the next run
    bool atEnd_ = false;
    bool isUnusable_ = false;  // sound that cannot be converted; the rest of it is silence
    std::optional<PlatformError> error_;
    std::int64_t nextPosition_ = 0;  // where the last call ended

    // The current run: sound without a gap. Its output is placed by counting, so that rounding in the
    // file's time stamps moves nothing.
    bool inRun_ = false;
    double runStart_ = 0;  // seconds
    std::int64_t runSourceFrames_ = 0;
    int runRate_ = 0;
    int runFormat_ = -1;  // AVSampleFormat
    ChannelLayoutPtr runLayout_{new AVChannelLayout{}};
    std::int64_t storedStart_ = 0;  // position of the first stored frame
    std::vector<float> stored_;     // converted and not yet read past
};

}  // namespace platform::ffmpeg

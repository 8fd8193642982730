#pragma once

#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Media/AudioMix.hpp"
#include "Platform/Media/Motion.hpp"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

namespace platform {

/// Hands a mix to an audio output and says which part of it is heard when. A thread of its own reads ahead
/// into a ring; the output's thread only copies. Sound that comes too late is left out, and silence fills
/// what is missing, so that the position never stands still while the output runs. All times are seconds of
/// the mix; any thread, one at a time, unless said otherwise.
class SoundFeed {
  public:
    SoundFeed();
    /// Waits for the thread: at most for a read that is being interrupted.
    ~SoundFeed();
    SoundFeed(const SoundFeed&) = delete;
    SoundFeed& operator=(const SoundFeed&) = delete;

    /// Takes a mix in place of the one before, silent.
    void open(std::shared_ptr<AudioMix> mix);
    /// Plays from `seconds` on, as soon as the output asks and there is something to give.
    void play(double seconds);
    /// Plays along a motion that is under way already.
    void onMotion(const Motion& motion);
    void pause();
    /// Where the sound is; absent until something is heard of what was asked for last.
    std::optional<Motion> motion() const;

    /// For the output, on its thread: see AudioOutput::Render.
    void render(std::span<float> target, double heardAt);

  private:
    static constexpr std::int64_t blockFrames = 1024;
    static constexpr std::uint32_t blocks = 24;  // half a second ahead
    struct Block {
        std::uint32_t run = 0;
        std::int64_t position = 0;  // frames
        std::array<float, blockFrames * AudioMix::channels> samples;
    };

    void begin(std::int64_t position, std::optional<Motion> along);
    void wake();
    void read();
    bool readBlock(std::uint32_t run);
    bool dropUnneeded(std::int64_t position);
    void publish(double seconds, double heardAt);

    // Set by the callers. A run is what is played between a start and the next; 0 is silence.
    std::atomic<std::uint32_t> run_{0};
    std::atomic<std::int64_t> startFrame_{0};
    std::atomic<double> startedAt_{-1};  // host clock at the start frame; negative: when it is first heard
    std::uint32_t runs_ = 0;

    // The ring, from the reading thread to the output's.
    std::array<Block, blocks> ring_;
    std::atomic<std::uint32_t> written_{0};
    std::atomic<std::uint32_t> taken_{0};
    std::atomic<std::int64_t> needed_{0};  // frames; what lies before it comes too late
    std::atomic<std::uint32_t> signal_{0};
    std::atomic<bool> stopped_{false};

    // The output's own.
    std::uint32_t playing_ = 0;
    bool started_ = false;
    std::int64_t next_ = 0;
    double nextHeardAt_ = 0;

    // What is heard, told without a lock: odd while it is written.
    std::atomic<std::uint32_t> readings_{0};
    std::atomic<std::uint32_t> heardRun_{0};
    std::atomic<double> heardSeconds_{0};
    std::atomic<double> heardAt_{0};

    std::mutex mutex_;
    std::shared_ptr<AudioMix> mix_;  // guarded by the mutex
    std::uint32_t readingRun_ = 0;   // from here on: the reading thread's own
    std::int64_t readingFrame_ = 0;
    NamedThread thread_;
};

}  // namespace platform

#include "Platform/Media/SoundFeed.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {
namespace {

// A cycle of the output that comes by more than this away from its time follows a standstill: another
// device, a server that started again.
constexpr double standstill = 0.06;
// After a standstill reading goes on so much ahead of what is needed now.
constexpr std::int64_t lead = AudioMix::sampleRate / 20;

std::int64_t framesOf(double seconds) { return std::llround(seconds * AudioMix::sampleRate); }
double secondsOf(std::int64_t frames) { return static_cast<double>(frames) / AudioMix::sampleRate; }

}  // namespace

SoundFeed::SoundFeed() : thread_("player.sound", [this] { read(); }) {}

SoundFeed::~SoundFeed() {
    stopped_ = true;
    {
        const std::lock_guard lock(mutex_);
        if (mix_) mix_->interrupt();
    }
    wake();
    thread_.join();
}

void SoundFeed::open(std::shared_ptr<AudioMix> mix) {
    pause();
    const std::lock_guard lock(mutex_);
    if (mix_) mix_->interrupt();
    mix_ = std::move(mix);
}

void SoundFeed::play(double seconds) { begin(framesOf(seconds), std::nullopt); }

void SoundFeed::onMotion(const Motion& motion) { begin(framesOf(motion.time), motion); }

void SoundFeed::begin(std::int64_t position, std::optional<Motion> along) {
    startFrame_ = position;
    startedAt_ = along ? along->at : -1;
    needed_ = position;
    run_ = ++runs_;
    wake();
}

void SoundFeed::pause() { run_ = 0; }

void SoundFeed::wake() {
    ++signal_;
    signal_.notify_one();
}

std::optional<Motion> SoundFeed::motion() const {
    for (;;) {
        const std::uint32_t before = readings_.load();
        const Motion motion{heardSeconds_.load(), heardAt_.load(), 1};
        const std::uint32_t run = heardRun_.load();
        if (before % 2 != 0 || before != readings_.load()) continue;
        if (run == 0 || run != run_.load()) return std::nullopt;
        return motion;
    }
}

void SoundFeed::read() {
    while (!stopped_) {
        const std::uint32_t signal = signal_.load();
        const std::uint32_t run = run_.load();
        const bool hasRoom = written_.load() - taken_.load() < blocks;
        if (run == 0 || !hasRoom || !readBlock(run)) signal_.wait(signal);
    }
}

/// False at the end of the mix.
bool SoundFeed::readBlock(std::uint32_t run) {
    std::shared_ptr<AudioMix> mix;
    {
        const std::lock_guard lock(mutex_);
        mix = mix_;
    }
    if (!mix) return false;
    if (readingRun_ != run) {
        readingRun_ = run;
        readingFrame_ = startFrame_.load();
    }
    const std::int64_t needed = needed_.load();
    if (readingFrame_ + blockFrames <= needed) readingFrame_ = needed + lead;
    if (readingFrame_ >= mix->frameCount()) return false;
    const std::uint32_t at = written_.load(std::memory_order_relaxed);
    Block& block = ring_[at % blocks];
    block.run = run;
    block.position = readingFrame_;
    mix->read(readingFrame_, block.samples);
    readingFrame_ += blockFrames;
    written_.store(at + 1, std::memory_order_release);
    return true;
}

/// Drops blocks of earlier runs and those that end before `position`; whether any block is left.
bool SoundFeed::dropUnneeded(std::int64_t position) {
    std::uint32_t at = taken_.load(std::memory_order_relaxed);
    const std::uint32_t end = written_.load(std::memory_order_acquire);
    while (at != end) {
        const Block& block = ring_[at % blocks];
        if (block.run == playing_ && block.position + blockFrames > position) break;
        ++at;
    }
    taken_.store(at, std::memory_order_release);
    return at != end;
}

void SoundFeed::render(std::span<float> target, double heardAt) {
    std::ranges::fill(target, 0.0F);
    const std::uint32_t run = run_.load();
    if (run != std::exchange(playing_, run)) started_ = false;
    if (run == 0) return;
    const auto frames = static_cast<std::int64_t>(target.size()) / AudioMix::channels;
    if (!started_) {
        const std::int64_t start = startFrame_.load();
        const double startedAt = startedAt_.load();
        const bool isReady = dropUnneeded(start);
        if (startedAt < 0 && !isReady) {
            wake();
            return;
        }
        started_ = true;
        next_ = startedAt < 0 ? start : start + framesOf(heardAt - startedAt);
    } else if (std::abs(heardAt - nextHeardAt_) > standstill) {
        next_ += framesOf(heardAt - nextHeardAt_);
    }
    for (std::int64_t done = 0; done < frames && dropUnneeded(next_ + done);) {
        const Block& block = ring_[taken_.load(std::memory_order_relaxed) % blocks];
        const std::int64_t at = next_ + done, silent = std::max<std::int64_t>(block.position - at, 0);
        if (silent >= frames - done) break;
        done += silent;
        const std::int64_t from = next_ + done - block.position;
        const std::int64_t count = std::min(frames - done, blockFrames - from);
        std::copy_n(block.samples.begin() + from * AudioMix::channels, count * AudioMix::channels,
                    target.begin() + done * AudioMix::channels);
        done += count;
    }
    publish(secondsOf(next_), heardAt);
    next_ += frames;
    nextHeardAt_ = heardAt + secondsOf(frames);
    needed_ = next_;
    dropUnneeded(next_);
    wake();
}

void SoundFeed::publish(double seconds, double heardAt) {
    ++readings_;
    heardRun_ = playing_;
    heardSeconds_ = seconds;
    heardAt_ = heardAt;
    ++readings_;
}

}  // namespace platform

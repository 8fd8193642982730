#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace platform::ffmpeg {

/// Holds an encoder of constant quality below a bit rate that counts over real seconds: a leaky bucket that
/// drains with the frames' own times. An encoder's VBV counts frames instead, at the nominal rate, and
/// starves a screen on which a few frames a second change. One thread.
class RateGovernor {
  public:
    /// No stretch of `t` seconds gets more than `bitsPerSecond` × (`t` + `window`), give or take a frame.
    static constexpr double window = 3;
    /// The coarsest that it asks for, in steps of the quantiser; six of them halve the bits.
    static constexpr double mostCoarsening = 30;
    /// It asks for none until this part of the bucket is full. The rest drains within a second, so that what
    /// has stopped moving is sharp again by then.
    static constexpr double freePart = 0.75;

    /// A rate of 0 is no ceiling.
    explicit RateGovernor(std::int64_t bitsPerSecond)
        : bitsPerSecond_(bitsPerSecond > 0 ? static_cast<double>(bitsPerSecond)
                                           : std::numeric_limits<double>::infinity()),
          capacity_(bitsPerSecond_ * window) {}

    /// How much coarser than the wished quality the frame at `time` (seconds, not falling) may be quantised:
    /// 0 while the bucket is free enough, `mostCoarsening` when it is full.
    double coarsening(double time) {
        drainTo(time);
        return std::clamp((level_ / capacity_ - freePart) / (1 - freePart), 0.0, 1.0) * mostCoarsening;
    }
    /// There is room for a large frame that could also come later.
    bool isAtEase() const { return level_ <= capacity_ / 2; }
    /// There is no room for another frame, however coarse.
    bool isExhausted() const { return level_ >= capacity_; }
    /// The encoder has made this many bits.
    void spend(double bits) { level_ += bits; }

  private:
    void drainTo(double time) {
        if (time > time_) level_ = std::max(0.0, level_ - (time - time_) * bitsPerSecond_);
        time_ = std::max(time_, time);
    }

    double bitsPerSecond_;
    double capacity_;
    double level_ = 0;
    double time_ = -std::numeric_limits<double>::infinity();
};

}  // namespace platform::ffmpeg

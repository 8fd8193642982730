#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>

namespace platform::ffmpeg {

/// Holds an encoder of constant quality below a bit rate that counts over real seconds: a leaky bucket that
/// drains with the frames' own times. An encoder's VBV counts frames instead, at the nominal rate, and
/// starves a screen on which a few frames a second change. One thread.
class RateGovernor {
  public:
    /// No stretch of `t` seconds gets more than `bitsPerSecond` × (`t` + `window`), give or take a frame.
    static constexpr double window = 3;
    /// The coarsest that it asks for, in steps of the quantiser.
    static constexpr double maxCoarsening = 30;
    /// It asks for none until this part of the bucket is full. The rest drains within a second, so that what
    /// has stopped moving is sharp again by then.
    static constexpr double freePart = 0.75;

    /// A rate of 0 is no ceiling.
    explicit RateGovernor(std::int64_t bitsPerSecond)
        : bitsPerSecond_(bitsPerSecond > 0 ? static_cast<double>(bitsPerSecond)
                                           : std::numeric_limits<double>::infinity()),
          capacity_(bitsPerSecond_ * window) {}

    /// How much coarser than the wished quality the frame at `time` (seconds, not falling) may be quantised:
    /// 0 while the bucket is free enough, `maxCoarsening` when it is full.
    double coarsening(double time) {
        drainTo(time);
        double expected = level_;
        for (const Expected& each : expected_) expected += each.bits;
        return std::clamp((expected / capacity_ - freePart) / (1 - freePart), 0.0, 1.0) * maxCoarsening;
    }
    /// A frame quantised so much coarser goes into the encoder, which works on several at a time: it counts
    /// as much as the last large one until `spend` tells.
    void expect(double coarsening) {
        expected_.push_back({fullQualityBits_ * std::exp2(-coarsening / stepsToHalf), coarsening});
    }
    /// There is room for a large frame that could also come later.
    bool isAtEase() const { return level_ <= capacity_ / 2; }
    /// There is no room for another frame, however coarse.
    bool isExhausted() const { return level_ >= capacity_; }
    /// The encoder has made this many bits of the first expected frame.
    void spend(double bits) {
        level_ += bits;
        if (expected_.empty()) return;
        constexpr double fading = 0.8;  // a frame
        fullQualityBits_ =
            std::max(bits * std::exp2(expected_.front().coarsening / stepsToHalf), fullQualityBits_ * fading);
        expected_.pop_front();
    }

  private:
    struct Expected {
        double bits;
        double coarsening;
    };
    static constexpr double stepsToHalf = 6;

    void drainTo(double time) {
        if (time > time_) level_ = std::max(0.0, level_ - (time - time_) * bitsPerSecond_);
        time_ = std::max(time_, time);
    }

    double bitsPerSecond_;
    double capacity_;
    double level_ = 0;
    std::deque<Expected> expected_;
    double fullQualityBits_ = 0;
    double time_ = -std::numeric_limits<double>::infinity();
};

}  // namespace platform::ffmpeg

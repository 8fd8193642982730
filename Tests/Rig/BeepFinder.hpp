#pragma once

#include "Platform/Imaging/SampleBuffer.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace rig {

/// Finds where the rig's beeps begin in a sound, run by run.
class BeepFinder {
  public:
    /// A beep begins with the first sample above `threshold` after `quiet` seconds below it.
    explicit BeepFinder(float threshold = 0.25F, double quiet = 0.05)
        : threshold_(threshold), quiet_(quiet) {}

    void add(const platform::SampleBuffer& sample) {
        const auto& sound = *sample.audio;
        const auto channels = static_cast<std::size_t>(sound.format.channels);
        for (std::size_t i = 0; i < sound.frameCount(); ++i) {
            const double time =
                sample.presentationTime.seconds() + static_cast<double>(i) / sound.format.sampleRate;
            const float value = sound.floats()[i * channels];
            const bool rises = last_ < 0 && value >= 0;
            last_ = value;
            if (std::abs(value) < threshold_) {
                constexpr double halfPeriod = 0.0005;  // the quiet hum after a beep does not count
                if (rises && isBeeping_ && time - lastLoud_ < halfPeriod) countRise(time);
                if (isBeeping_ && time - lastLoud_ > quiet_) end();
                continue;
            }
            if (!isBeeping_) {
                isBeeping_ = true;
                starts_.push_back(time);
            }
            if (rises) countRise(time);
            lastLoud_ = time;
        }
    }

    /// Seconds on the sound's clock.
    const std::vector<double>& starts() const { return starts_; }
    /// Of the beeps that have ended, Hz: from the middle one of the periods, so that lost sound does not
    /// matter.
    const std::vector<double>& pitches() const { return pitches_; }

  private:
    void countRise(double time) {
        if (lastRise_ > starts_.back()) periods_.push_back(time - lastRise_);
        lastRise_ = time;
    }
    void end() {
        isBeeping_ = false;
        if (periods_.empty()) periods_.push_back(1);
        const auto middle = periods_.begin() + static_cast<std::ptrdiff_t>(periods_.size() / 2);
        std::nth_element(periods_.begin(), middle, periods_.end());
        pitches_.push_back(1 / *middle);
        periods_.clear();
    }

    float threshold_;
    double quiet_;
    bool isBeeping_ = false;
    float last_ = 0;
    double lastLoud_ = 0;
    double lastRise_ = 0;
    std::vector<double> periods_;
    std::vector<double> starts_, pitches_;
};

}  // namespace rig

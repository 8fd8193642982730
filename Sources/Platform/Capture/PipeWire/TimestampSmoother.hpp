#pragma once

#include <optional>

namespace platform::pipewire {

/// Turns the times that the graph gives to runs of sound into times without jitter. A program that the
/// machine kept waiting reads the time of a later cycle than that of its sound, so a single time may be
/// wrong by a cycle; many are not. Runs follow one another without a seam as long as the times agree on
/// the whole, a slow drift is followed, and a real gap stays a gap.
class TimestampSmoother {
  public:
    /// The time of a run's first frame, in seconds like the measured time and the run's duration; absent
    /// when the run lies within what was placed already and is to be left out.
    std::optional<double> place(double measured, double duration) {
        if (!expected_) expected_ = measured;
        const double error = measured - *expected_;
        const bool agrees = error < tolerance && error > -tolerance;
        runsThatDisagree_ = agrees ? 0 : runsThatDisagree_ + 1;
        if (agrees) {
            *expected_ += error * drift;
        } else if (error > certainGap || runsThatDisagree_ >= runsThatConvince) {
            if (error < 0) return std::nullopt;
            expected_ = measured;
            runsThatDisagree_ = 0;
        }
        const double start = *expected_;
        expected_ = start + duration;
        return start;
    }

  private:
    static constexpr double tolerance = 0.005;  // seconds
    static constexpr double certainGap = 0.1;   // seconds; more than the longest cycle
    static constexpr int runsThatConvince = 5;
    static constexpr double drift = 0.02;  // of the error, a run: some hundred times what crystals need

    std::optional<double> expected_;
    int runsThatDisagree_ = 0;
};

}  // namespace platform::pipewire

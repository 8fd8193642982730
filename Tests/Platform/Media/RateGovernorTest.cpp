#include "Platform/Media/FFmpeg/RateGovernor.hpp"

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

#include <gtest/gtest.h>

namespace platform::ffmpeg {
namespace {

constexpr std::int64_t rate = 20'000'000;

/// An encoder whose pictures halve with every six steps of the quantiser.
double bitsOf(double demand, double coarsening) { return demand * std::exp2(-coarsening / 6); }

TEST(RateGovernor, HoldsBusyPicturesBelowTheRateAtAnyFrameRate) {
    for (const double fps : {1.0, 4.0, 15.0, 60.0}) {
        SCOPED_TRACE(fps);
        RateGovernor governor(rate);
        std::vector<std::pair<double, double>> made;  // time, bits
        for (double t = 0; t < 60; t += 1 / fps) {
            const double bits = bitsOf(10.0 * rate / fps, governor.coarsening(t));
            if (governor.isExhausted()) continue;
            governor.spend(bits);
            made.emplace_back(t, bits);
        }
        for (const double span : {1.0, 5.0, 20.0})
            for (double from = 0; from + span <= 60; from += 0.5) {
                double sum = 0, largest = 0;
                for (const auto& [time, bits] : made)
                    if (time >= from && time < from + span) {
                        sum += bits;
                        largest = std::max(largest, bits);
                    }
                EXPECT_LE(sum, rate * (span + RateGovernor::window) + largest) << from << " " << span;
            }
    }
}

TEST(RateGovernor, LeavesAScreenAloneOnWhichLittleMoves) {
    RateGovernor governor(rate);
    double coarsest = 0;
    // Four small pictures a second, a large one every ten seconds.
    for (int i = 0; i < 2400; ++i) {
        coarsest = std::max(coarsest, governor.coarsening(i / 4.0));
        governor.spend(i % 40 == 0 ? 8'000'000 : 20'000);
    }
    EXPECT_EQ(coarsest, 0);
}

// A page is scrolled: every picture is new, and the encoder gives each back when two more have gone in.
TEST(RateGovernor, ReckonsWithPicturesThatTheEncoderHasNotGivenBack) {
    RateGovernor governor(rate);
    std::deque<double> inside;
    double end = 0;
    for (; end < 3; end += 0.05) {
        const double coarsening = governor.coarsening(end);
        ASSERT_FALSE(governor.isExhausted()) << end;
        governor.expect(coarsening);
        inside.push_back(bitsOf(8'000'000, coarsening));
        if (inside.size() <= 2) continue;
        governor.spend(inside.front());
        inside.pop_front();
    }
    for (const double bits : inside) governor.spend(bits);
    EXPECT_LT(governor.coarsening(end + 1), 1) << "blurred for more than a second";
}

}  // namespace
}  // namespace platform::ffmpeg

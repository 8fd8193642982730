#include "Platform/Capture/PipeWire/TimestampSmoother.hpp"

#include <vector>

#include <gtest/gtest.h>

namespace platform::pipewire {
namespace {

constexpr double cycle = 1024.0 / 48000;

TEST(TimestampSmootherTest, LevelsOutSingleWrongTimes) {
    TimestampSmoother clock;
    for (int i = 0; i < 1000; ++i) {
        const double truth = 100 + i * cycle;
        const double late = i % 7 == 3 ? cycle : i % 11 == 5 ? 2 * cycle : 0;
        const auto placed = clock.place(truth + late, cycle);
        ASSERT_TRUE(placed);
        EXPECT_NEAR(*placed, truth, 0.001);
    }
}

TEST(TimestampSmootherTest, FollowsACrystalThatIsOff) {
    TimestampSmoother clock;
    double end = 0;
    for (int i = 0; i < 30000; ++i) {
        const double truth = 100 + i * cycle * 1.0005;
        const auto placed = clock.place(truth, cycle);
        ASSERT_TRUE(placed);
        EXPECT_NEAR(*placed, truth, 0.001);
        if (i > 0) {
            EXPECT_NEAR(*placed, end, 0.0001);
        }
        end = *placed + cycle;
    }
}

TEST(TimestampSmootherTest, KeepsGaps) {
    struct Case {
        double gap;
        int runsUntilRight;
    };
    for (const auto& [gap, runsUntilRight] : {Case{3.0, 0}, Case{0.15, 0}, Case{2 * cycle, 5}}) {
        TimestampSmoother clock;
        for (int i = 0; i < 100; ++i) clock.place(i * cycle, cycle);
        for (int i = 0; i < 100; ++i) {
            const double truth = (100 + i) * cycle + gap;
            const auto placed = clock.place(truth, cycle);
            ASSERT_TRUE(placed);
            if (i >= runsUntilRight) {
                EXPECT_NEAR(*placed, truth, 0.0001) << gap;
            }
        }
    }
}

TEST(TimestampSmootherTest, NeverGoesBack) {
    TimestampSmoother clock;
    std::vector<double> placed;
    // The first time is two cycles late, all others are right.
    for (int i = 0; i < 100; ++i)
        if (const auto time = clock.place(i * cycle + (i == 0 ? 2 * cycle : 0), cycle))
            placed.push_back(*time);
    for (std::size_t i = 1; i < placed.size(); ++i) EXPECT_GT(placed[i], placed[i - 1] + cycle - 0.001);
    EXPECT_NEAR(placed.back(), 99 * cycle, 0.005);
    EXPECT_GE(placed.size(), 97U);
}

}  // namespace
}  // namespace platform::pipewire

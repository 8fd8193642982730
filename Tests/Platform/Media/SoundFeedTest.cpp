#include "Platform/Media/SoundFeed.hpp"
#include "Rig/Eventually.hpp"

#include <atomic>
#include <memory>
#include <vector>

#include <gmock/gmock.h>

namespace platform {
namespace {

/// Frame n of it is n on the left and −n on the right.
class CountingMix final : public AudioMix {
  public:
    std::int64_t frameCount() const override { return 10 * sampleRate; }
    void read(std::int64_t position, std::span<float> target) override {
        for (std::size_t i = 0; i < target.size(); i += 2) {
            const auto value = static_cast<float>(position + static_cast<std::int64_t>(i / 2));
            target[i] = value;
            target[i + 1] = -value;
        }
        lastRead = position;
    }
    void interrupt() override {}
    std::atomic<std::int64_t> lastRead{-1};
};

/// An output whose cycles come when the test says so, each of 512 frames.
class SoundFeedTest : public ::testing::Test {
  protected:
    static constexpr std::size_t cycle = 512;
    static constexpr double cycleSeconds = double(cycle) / AudioMix::sampleRate;

    SoundFeedTest() { feed.open(mix); }

    /// What the next cycle gives on the left, heard at `heardAt`.
    const std::vector<float>& render() {
        std::vector<float> both(2 * cycle, 7);
        feed.render(both, heardAt);
        left.clear();
        for (std::size_t i = 0; i < both.size(); i += 2) {
            EXPECT_EQ(both[i + 1], -both[i]);
            left.push_back(both[i]);
        }
        heardAt += cycleSeconds;
        return left;
    }
    /// Waits until what begins at `frame` stands in the ring: the reading thread is then at what follows it.
    void waitUntilRead(std::int64_t frame) {
        constexpr std::int64_t block = 1024, ring = 24 * block;
        ASSERT_TRUE(eventually([&] {
            const std::int64_t at = mix->lastRead;
            return at >= frame + block && at <= frame + ring;
        }));
    }
    void playFrom(double seconds) {
        feed.play(seconds);
        // What was read for an earlier start stands before it in the ring until a cycle has come.
        ASSERT_TRUE(eventually([&] {
            render();
            return feed.motion().has_value();
        }));
    }

    std::shared_ptr<CountingMix> mix = std::make_shared<CountingMix>();
    SoundFeed feed;
    double heardAt = 100;
    std::vector<float> left;
};

TEST_F(SoundFeedTest, PlaysFromWhereItWasStartedAndSaysWhenThatIsHeard) {
    for (const double start : {1.0, 3.25, 0.5}) {
        SCOPED_TRACE(start);
        playFrom(start);
        ASSERT_TRUE(feed.motion());
        EXPECT_EQ(left.front(), start * AudioMix::sampleRate);
        EXPECT_EQ(left.back(), start * AudioMix::sampleRate + cycle - 1);
        EXPECT_DOUBLE_EQ(feed.motion()->time, start);
        EXPECT_DOUBLE_EQ(feed.motion()->at, heardAt - cycleSeconds);
        waitUntilRead(static_cast<std::int64_t>(start * AudioMix::sampleRate + 8 * cycle));
        for (int i = 1; i <= 3; ++i) EXPECT_EQ(render().front(), start * AudioMix::sampleRate + i * cycle);
        feed.pause();
        EXPECT_FALSE(feed.motion());
        EXPECT_THAT(render(), testing::Each(0));
    }
}

TEST_F(SoundFeedTest, AfterAStandstillItGoesOnWhereTheTimeIs) {
    playFrom(1);
    heardAt += 0.25;  // the ring still has it
    const double within = 1 + cycleSeconds + 0.25;
    waitUntilRead(static_cast<std::int64_t>((within + 0.1) * AudioMix::sampleRate));
    EXPECT_NEAR(render().front(), within * AudioMix::sampleRate, 1);
    EXPECT_NEAR(feed.motion()->time, within, 1e-4);

    heardAt += 3;  // the ring does not: silence until it was read, the time going on
    const double beyond = feed.motion()->time + cycleSeconds + 3;
    EXPECT_THAT(render(), testing::Each(0));
    EXPECT_NEAR(feed.motion()->time, beyond, 1e-4);
    waitUntilRead(static_cast<std::int64_t>((beyond + 0.2) * AudioMix::sampleRate));
    while (render().back() == 0) ASSERT_LT(heardAt, 110);
    const double expected = (feed.motion()->time + cycleSeconds) * AudioMix::sampleRate - 1;
    EXPECT_NEAR(left.back(), expected, 1);
}

TEST_F(SoundFeedTest, JoinsAMotionUnderWay) {
    feed.onMotion({2, 99, 1});                // at 100 it is at 3
    EXPECT_THAT(render(), testing::Each(0));  // until it was read, the time going on
    waitUntilRead(3 * AudioMix::sampleRate + 8 * cycle);
    while (render().back() == 0) ASSERT_LT(heardAt, 101);
    const double end = 2 + (heardAt - 99);
    EXPECT_NEAR(left.back(), end * AudioMix::sampleRate - 1, 1);
    EXPECT_NEAR(feed.motion()->timeAt(heardAt), end, 1e-4);
}

TEST_F(SoundFeedTest, AfterTheLastFrameComesSilenceAndTimeGoesOn) {
    playFrom(10 - 2 * cycleSeconds);
    render();
    EXPECT_GT(left.back(), 0);
    EXPECT_THAT(render(), testing::Each(0));
    EXPECT_NEAR(feed.motion()->time, 10, 1e-4);
}

}  // namespace
}  // namespace platform

#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Fakes/FakeDesktop.hpp"
#include "Fakes/VirtualTime.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

class MouseSamplerTest : public testing::Test {
  protected:
    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>(50);
    std::shared_ptr<platform::FakeDesktop> desktop = std::make_shared<platform::FakeDesktop>();
    MouseSampler sampler{time, time, desktop};
};

TEST_F(MouseSamplerTest, TakesSixtySamplesASecondAtTheirTrueTimes) {
    desktop->pointerStates = {{1, 2, 0}, {3, 4, 1}, {5, 6, 3}};
    EXPECT_EQ(sampler.stop(), (EventLog{1, {}, {}})) << "nothing was started";
    sampler.start(CaptureMode::display, 7);
    time->advance(1.0001);
    const EventLog log = sampler.stop();
    ASSERT_EQ(log.samples.size(), 60U);
    EXPECT_NEAR(log.samples[0].t, 50 + 1.0 / 60, 1e-9);
    EXPECT_EQ((std::pair{log.samples[1].x, log.samples[1].buttons}), (std::pair{3.0, std::int64_t{1}}));
    EXPECT_EQ(log.samples.back().buttons, 3);
    EXPECT_TRUE(log.windowFrames.empty());
    time->advance(1);
    EXPECT_EQ(sampler.stop().samples.size(), 60U) << "stopped means stopped";
}

TEST_F(MouseSamplerTest, ABusyMainThreadMeansFewerSamplesNotCatchingUp) {
    sampler.start(CaptureMode::display, 0);
    time->advance(0.5);
    time->stall(1);
    time->advance(0.5001);
    const EventLog log = sampler.stop();
    EXPECT_NEAR(static_cast<double>(log.samples.size()), 61, 1);
    for (std::size_t i = 1; i < log.samples.size(); ++i) EXPECT_GT(log.samples[i].t, log.samples[i - 1].t);
    EXPECT_NEAR(log.samples[30].t, 51.5, 1.0 / 60) << "the late tick carries the late time";
}

TEST_F(MouseSamplerTest, FollowsTheWindowUntilItCloses) {
    desktop->windowFrames[7] = {platform::Rect{10, 20, 300, 200}, platform::Rect{11, 20, 300, 200},
                                std::nullopt};
    sampler.start(CaptureMode::window, 7);
    time->advance(0.2001);
    const EventLog log = sampler.stop();
    EXPECT_EQ(log.samples.size(), 12U);
    ASSERT_EQ(log.windowFrames.size(), 2U);
    EXPECT_EQ(log.windowFrames[1], (WindowFrameSample{log.samples[1].t, 11, 20, 300, 200}));
    sampler.start(CaptureMode::display, 0);
    time->advance(0.1001);
    EXPECT_EQ(sampler.stop().samples.size(), 6U) << "begins afresh";
}

}  // namespace
}  // namespace cobaltreel

#include "Platform/Capture/CaptureHarness.hpp"

#include <algorithm>
#include <fstream>
#include <map>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

class DisplayCapture : public ::testing::Test {
  protected:
    Display mainDisplay() { return service_.shareableContent().displays.at(0); }
    StreamConfiguration fullSize() {
        const Display display = mainDisplay();
        return configurationFor(display.width(), display.height());
    }

    XcbConnection connection_;
    XcbScreenCaptureService service_;
};

std::map<std::uint32_t, double> drawTimes(const std::string& path) {
    std::ifstream log(path);
    std::map<std::uint32_t, double> times;
    std::uint32_t counter = 0;
    for (double time = 0; log >> counter >> time;) times[counter] = time;
    return times;
}

}  // namespace

TEST_F(DisplayCapture, MeetsEveryFrameOfASceneThatDrawsAtTheSameRate) {
    const std::string log = testing::TempDir() + "scene-" + std::to_string(getpid()) + ".log";
    rig::ChildProcess scene({rigProgram("RigScene"), "--fill", "--log", log});
    ASSERT_EQ(scene.readLine(), "ready");
    const Display display = mainDisplay();
    std::vector<std::pair<std::uint32_t, double>> seen;
    std::size_t unreadable = 0;
    const double processorBefore = processorSeconds();
    Recording recording(service_, DisplayContentFilter{display, {}}, fullSize(),
                        [&](const PixelBuffer& picture, double time) {
                            if (const auto counter = counterIn(picture, display.width(), display.height()))
                                seen.emplace_back(*counter, time);
                            else
                                ++unreadable;
                        });
    ASSERT_TRUE(recording.waitForFrames(240));
    ASSERT_TRUE(recording.stop());
    const double processor = processorSeconds() - processorBefore;
    scene.end(SIGTERM);

    const double span = seen.back().second - seen.front().second;
    const double rate = static_cast<double>(seen.size() - 1) / span;
    std::vector<double> lateness;
    const auto drawn = drawTimes(log);
    for (const auto& [counter, time] : seen)
        if (drawn.contains(counter)) lateness.push_back(time - drawn.at(counter));
    ASSERT_FALSE(lateness.empty());
    std::sort(lateness.begin(), lateness.end());
    std::printf("%dx%d: %.2f frames/s, %.1f %% of a core, late by %.1f ms (median), %.1f ms (worst)\n",
                display.width(), display.height(), rate, 100 * processor / span,
                1e3 * lateness[lateness.size() / 2], 1e3 * lateness.back());

    EXPECT_EQ(unreadable, 0U);
    EXPECT_TRUE(recording.isMonotonic());
    EXPECT_GT(rate, 45);
    EXPECT_LT(rate, 61);
    // The time is read just before the grab, so a drawing may be seen that began a moment after it.
    EXPECT_GT(lateness.front(), -0.01);
    EXPECT_LT(lateness[lateness.size() / 2], 0.035);
}

}  // namespace platform::test

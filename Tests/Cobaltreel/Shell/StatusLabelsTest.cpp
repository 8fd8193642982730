#include "Cobaltreel/Shell/CobaltreelApp.hpp"
#include "Cobaltreel/Shell/StatusLabels.hpp"

#include <set>

#include <gtest/gtest.h>

namespace cobaltreel {

TEST(StatusLabelsTest, TimeHasMinutesAndSecondsAndNoHours) {
    const struct {
        double seconds;
        const char* text;
    } cases[]{{0, "00:00"},      {0.999, "00:00"}, {65.9, "01:05"},
              {599.99, "09:59"}, {3725, "62:05"},  {360000, "6000:00"}};
    for (const auto& c : cases) EXPECT_EQ(CobaltreelApp::timeString(c.seconds), c.text);
}

TEST(StatusLabelsTest, EverySecondLooksDifferentInASmallTray) {
    std::set<std::vector<std::uint32_t>> pictures;
    for (int second = 0; second < 100; ++second) {
        const auto label = StatusLabels::label(RecordingCoordinator::State::recording, second);
        const auto picture = StatusLabels::draw(label, 16);
        ASSERT_EQ(picture.pixels.size(), 16U * 16U);
        pictures.insert(picture.pixels);
    }
    EXPECT_EQ(pictures.size(), 100U);
    // The idle symbol: light on dark as well as dark on light.
    const auto symbol = StatusLabels::draw(StatusLabels::label(RecordingCoordinator::State::idle, 0), 22);
    bool light = false, dark = false;
    for (const std::uint32_t pixel : symbol.pixels) {
        light = light || pixel == 0xffffffff;
        dark = dark || ((pixel >> 24) > 0x60 && (pixel & 0xffffff) == 0);
    }
    EXPECT_TRUE(light && dark);
    EXPECT_EQ(StatusLabels::draw({"record.circle.fill", "00:01", true}, 22).pixels,
              StatusLabels::draw({"record.circle.fill", "00:02", true}, 22).pixels);
    EXPECT_EQ(StatusLabels::draw({}, 0).side, 0);
}

}  // namespace cobaltreel

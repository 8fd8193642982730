#include "CobaltreelCore/Models.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

template <typename Enumeration>
void expectNamesToRoundTrip(std::vector<std::string_view> names) {
    ASSERT_EQ(allCases<Enumeration>.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(rawValue(allCases<Enumeration>[i]), names[i]);
        EXPECT_EQ(fromRawValue<Enumeration>(names[i]), allCases<Enumeration>[i]);
    }
    for (const auto wrong : {"", "Display", "BUBBLE", "he ", "bottomleft", "en-IL"})
        EXPECT_EQ(fromRawValue<Enumeration>(wrong), std::nullopt) << wrong;
}

TEST(Models, EnumerationsAreKnownByTheirExactNames) {
    expectNamesToRoundTrip<CaptureMode>({"display", "window"});
    expectNamesToRoundTrip<CameraCorner>({"bottomLeft", "bottomRight", "topLeft", "topRight"});
    expectNamesToRoundTrip<CameraStyle>({"bubble", "cutout"});
    expectNamesToRoundTrip<Language>({"he", "en"});
}

TEST(Models, TheFirstPreferredLanguageDecides) {
    const struct {
        std::vector<std::string> preferred;
        Language expected;
    } cases[]{
        {{"he-IL", "en-US"}, Language::he},
        {{"HE"}, Language::he},
        {{"hebrew"}, Language::he},
        {{"en-IL", "he"}, Language::en},
        {{}, Language::en},
        {{""}, Language::en},
        {{"h"}, Language::en},
        {{"the"}, Language::en},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Languages::forSystem(c.preferred), c.expected) << ::testing::PrintToString(c.preferred);
}

TEST(Models, AnAbsentCameraStyleReadsAsBubble) {
    SessionMeta meta = SessionMeta::makeDefault();
    EXPECT_EQ(meta.resolvedCameraStyle(), CameraStyle::bubble);
    meta.cameraStyle = CameraStyle::cutout;
    EXPECT_EQ(meta.resolvedCameraStyle(), CameraStyle::cutout);
}

}  // namespace
}  // namespace cobaltreel

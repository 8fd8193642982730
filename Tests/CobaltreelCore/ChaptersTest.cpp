#include "CobaltreelCore/Chapters.hpp"

#include <limits>

#include <gmock/gmock.h>

namespace cobaltreel {

/// What a failed comparison shows.
void PrintTo(const Chapter& chapter, std::ostream* out) {
    *out << chapter.title << " [" << chapter.start << ", " << chapter.end << ")";
}

namespace {

// The screen begins at 100; kept are its seconds 2 to 10.
constexpr ExportTiming kept{2, 10, 100, 100};

TEST(ChaptersTest, GoFromMarkerToMarkerThroughTheWholeSpan) {
    const struct {
        const char* why;
        std::vector<Marker> markers;
        std::vector<Chapter> chapters;
    } cases[]{
        {"none", {}, {}},
        {"all outside", {{101, "early"}, {110, "at the end"}, {500, "late"}}, {}},
        {"a beginning of its own", {{105, "b"}}, {{0, 3, "Start"}, {3, 8, "b"}}},
        {"at the very beginning", {{102, "a"}, {104, "b"}}, {{0, 2, "a"}, {2, 8, "b"}}},
        {"all but at the beginning", {{102.09, "a"}}, {{0, 8, "a"}}},
        {"numbers count those outside",
         {{101, ""}, {103, ""}, {104, ""}},
         {{0, 1, "Start"}, {1, 2, "Marker 2"}, {2, 8, "Marker 3"}}},
        {"close together", {{103, ""}, {103.05, "x"}, {103.09, "y"}}, {{0, 1, "Start"}, {1, 8, "x"}}},
        {"no time at all", {{std::numeric_limits<double>::quiet_NaN(), "?"}}, {}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(Chapters::ofMarkers(each.markers, kept, {}), each.chapters) << each.why;
}

TEST(ChaptersTest, ThousandsHaveALengthEach) {
    std::vector<Marker> markers;
    for (int i = 0; i < 10'000; ++i) markers.push_back({100 + i * 0.001, ""});
    const auto chapters = Chapters::ofMarkers(markers, kept, {});
    EXPECT_GT(chapters.size(), 70U);
    for (const Chapter& each : chapters) EXPECT_GT(each.end, each.start);
    EXPECT_EQ(chapters.front().start, 0);
    EXPECT_EQ(chapters.back().end, 8);
}

}  // namespace
}  // namespace cobaltreel

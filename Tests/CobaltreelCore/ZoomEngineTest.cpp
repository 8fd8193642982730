#include "CobaltreelCore/ZoomEngine.hpp"

#include <random>

#include <gtest/gtest.h>

namespace cobaltreel {

// What a failed comparison prints.
void PrintTo(const CameraState& s, std::ostream* out) {
    *out << "(" << s.zoom << " " << s.cx << " " << s.cy << ")";
}
void PrintTo(const CameraMove& m, std::ostream* out) {
    *out << m.tStart << "-" << m.tEnd << " ";
    PrintTo(m.from, out);
    PrintTo(m.to, out);
}

namespace {

constexpr double width = 1920;
constexpr double height = 1080;
constexpr CameraState home{1, 960, 540};

void expectClose(const std::vector<CameraMove>& actual, const std::vector<CameraMove>& expected) {
    ASSERT_EQ(actual.size(), expected.size()) << ::testing::PrintToString(actual);
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i].tStart, expected[i].tStart, 1e-12) << i;
        EXPECT_NEAR(actual[i].tEnd, expected[i].tEnd, 1e-12) << i;
        EXPECT_EQ(actual[i].from, expected[i].from) << i;
        EXPECT_EQ(actual[i].to, expected[i].to) << i;
    }
}

TEST(ZoomEngineTest, PlansTheseMoves) {
    const CameraState corner{2, 480, 270}, centre{2, 960, 540}, upperLeft{2, 500, 300},
        lowerRight{2, 1400, 800};
    const struct {
        const char* what;
        std::vector<Click> clicks;
        double duration;
        std::vector<CameraMove> expected;
    } cases[]{
        {"no click", {}, 10, {}},
        {"one click", {{1, 100, 100}}, 10, {{1, 1.6, home, corner}, {5, 5.8, corner, home}}},
        {"a click at the very start", {{0, 100, 100}}, 10, {{0, 0.6, home, corner}, {4, 4.8, corner, home}}},
        {"a late click pulls the way home forward",
         {{8, 100, 100}},
         10,
         {{8, 8.6, home, corner}, {8.6, 9.4, corner, home}}},
        {"too late to come home", {{9.5, 100, 100}}, 10, {{9.5, 10.1, home, corner}}},
        {"a click at the end", {{10, 100, 100}}, 10, {}},
        {"inside the dead zone",
         {{1, 960, 540}, {2, 1000, 560}},
         10,
         {{1, 1.6, home, centre}, {6, 6.8, centre, home}}},
        {"on the edge of the dead zone",
         {{1, 960, 540}, {2, 960 + 288, 540 - 162}},
         10,
         {{1, 1.6, home, centre}, {6, 6.8, centre, home}}},
        {"just outside the dead zone",
         {{1, 960, 540}, {2, 960 + 288.5, 540}},
         10,
         {{1, 1.6, home, centre}, {2.4, 2.9, centre, {2, 1248.5, 540}}, {6, 6.8, {2, 1248.5, 540}, home}}},
        {"a pan waits for the cooldown",
         {{1, 500, 300}, {1.5, 1400, 800}},
         10,
         {{1, 1.6, home, upperLeft}, {2.4, 2.9, upperLeft, lowerRight}, {5.5, 6.3, lowerRight, home}}},
        {"clicks come in any order",
         {{1.5, 1400, 800}, {1, 500, 300}},
         10,
         {{1, 1.6, home, upperLeft}, {2.4, 2.9, upperLeft, lowerRight}, {5.5, 6.3, lowerRight, home}}},
        {"clicks at one time keep their order",
         {{2, 480, 270}, {1, 1920, 1080}, {1, 480, 270}},
         10,
         {{1, 1.6, home, {2, 1440, 810}}, {2.4, 2.9, {2, 1440, 810}, corner}, {6, 6.8, corner, home}}},
        {"a long pause ends the zoom",
         {{1, 960, 540}, {6, 960, 540}},
         20,
         {{1, 1.6, home, centre},
          {5, 5.8, centre, home},
          {6.6, 7.2, home, centre},
          {10, 10.8, centre, home}}},
        {"a long pause in a short movie",
         {{1, 960, 540}, {6, 960, 540}},
         10,
         {{1, 1.6, home, centre}, {5, 5.8, centre, home}, {6.6, 7.2, home, centre}, {7.2, 8, centre, home}}},
        {"a pause of exactly the timeout does not",
         {{1, 960, 540}, {5, 960, 540}},
         20,
         {{1, 1.6, home, centre}, {9, 9.8, centre, home}}},
        {"a movie shorter than the way home", {{0, 100, 100}}, 0.5, {{0, 0.6, home, corner}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        expectClose(ZoomEngine::moves(c.clicks, width, height, c.duration), c.expected);
    }
}

TEST(ZoomEngineTest, CrossedBoundsGiveTheUpperOne) {
    ZoomConfig config;
    config.zoomScale = 0.5;
    const auto moves = ZoomEngine::moves(std::vector<Click>{{1, 100, 100}}, width, height, 10, config);
    ASSERT_FALSE(moves.empty());
    EXPECT_EQ(moves[0].to, (CameraState{0.5, 0, 0}));
}

TEST(ZoomEngineTest, SamplesThePlanAtAnyTime) {
    const auto moves = ZoomEngine::moves(std::vector<Click>{{0, 100, 100}}, width, height, 10);
    const CameraState corner{2, 480, 270};
    const struct {
        double t;
        CameraState expected;
    } cases[]{
        {-1, home},
        {0, home},
        {0.15, {1.0625, 930, 523.125}},
        {0.3, {1.5, 720, 405}},
        {0.6, corner},
        {2, corner},
        {4, corner},
        {4.8, home},
        {1000.0, home},
    };
    for (const auto& c : cases) EXPECT_EQ(ZoomEngine::evaluate(moves, c.t, width, height), c.expected) << c.t;
    EXPECT_EQ(ZoomEngine::evaluate({}, 3, width, height), home);

    const CameraMove first{1, 2, home, corner}, second{2, 3, corner, home};
    EXPECT_EQ(ZoomEngine::evaluate(std::vector{first, second}, 2, width, height), corner);
}

TEST(ZoomEngineTest, AnyPlanIsOrderedContinuousAndInsideTheFrame) {
    std::mt19937 random(11);
    const auto below = [&](double limit) { return std::uniform_real_distribution<>(0, limit)(random); };
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const double duration = 1 + below(60), w = 100 + below(4000), h = 100 + below(3000);
        ZoomConfig config;
        config.zoomScale = 1 + below(3);
        std::vector<Click> clicks(static_cast<std::size_t>(below(40)));
        for (Click& click : clicks) click = {below(duration), below(w), below(h)};

        const auto moves = ZoomEngine::moves(clicks, w, h, duration, config);
        CameraState before{1, w / 2, h / 2};
        double busyUntil = 0;
        for (const CameraMove& move : moves) {
            EXPECT_GE(move.tStart, busyUntil);
            EXPECT_GE(move.tEnd, move.tStart);
            EXPECT_LT(move.tStart, duration);
            EXPECT_EQ(move.from, before);
            before = move.to;
            busyUntil = move.tEnd;
        }
        for (double t = 0; t <= duration; t += 1.0 / 30) {
            const auto crop = ZoomEngine::cropRect(ZoomEngine::evaluate(moves, t, w, h), w, h);
            const double slack = 1e-9 * w;
            EXPECT_TRUE(crop.x >= -slack && crop.y >= -slack && crop.maxX() <= w + slack &&
                        crop.maxY() <= h + slack)
                << t << ": " << crop.x << " " << crop.y << " " << crop.w << " " << crop.h;
        }
    }
}

}  // namespace
}  // namespace cobaltreel

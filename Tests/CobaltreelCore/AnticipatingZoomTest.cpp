#include "CobaltreelCore/AnticipatingZoom.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace cobaltreel::anticipating {
namespace {

constexpr double width = 1920, height = 1080;
constexpr AnticipationConfig config;

/// A pointer that is sampled sixty times a second and is at `at(t)`.
template <typename At>
std::vector<PointerSample> pointerOf(double duration, At at) {
    std::vector<PointerSample> samples;
    for (double t = 0; t <= duration; t += 1.0 / 60) samples.push_back({t, at(t)});
    return samples;
}

/// Where the camera is, and where it rests, at some times of a plan.
std::string shape(const std::vector<CameraMove>& moves, double duration) {
    std::string word;
    for (double t = 0; t <= duration; t += 0.5) {
        const double zoom = ZoomEngine::evaluate(moves, t, width, height).zoom;
        word += zoom == 1 ? '.' : zoom == config.zoomScale ? 'Z' : '-';
    }
    return word;
}

TEST(AnticipatingZoomTest, PlansTheseShots) {
    const Transforms::FramePoint here{400, 300}, there{1500, 800};
    const auto stays = [&](double) { return here; };
    const auto leavesAt3 = [&](double t) { return t < 3 ? here : there; };
    const struct {
        const char* what;
        std::vector<Click> clicks;
        std::vector<PointerSample> pointer;
        double duration;
        const char* shape;  // one letter each half second: whole frame, zoomed, between
    } cases[]{
        {"no click", {}, {}, 3, "......."},
        {"the camera has arrived when the button goes down, and leaves after a while",
         {{2, 400, 300}},
         {},
         8,
         "...-ZZZZZZZZZ-..."},
        {"it stays as long as the pointer stays in the picture",
         {{2, 400, 300}},
         pointerOf(12, stays),
         12,
         "...-ZZZZZZZZZZZZZZZZZZZ-."},
        {"and no longer", {{2, 400, 300}}, pointerOf(9, leavesAt3), 9, "...-ZZZZZZZZZ-....."},
        {"it shows the whole frame in a long pause",
         {{2, 400, 300}, {12, 1500, 800}},
         {},
         14,
         "...-ZZZZZZZZZ-.........-ZZZZZ"},
        {"it glides from click to click", {{2, 400, 300}, {5, 1500, 800}}, {}, 6, "...-ZZZZZZZZZ"},
        {"clicks that are too far apart for one picture and too close in time for a move are shown together",
         {{2, 300, 300}, {2.5, 1100, 500}},
         {},
         4,
         "...------"},
        {"or in the whole frame", {{2, 100, 100}, {2.5, 1800, 1000}}, {}, 4, "........."},
        {"a movie that begins with a click begins zoomed in", {{0.1, 400, 300}}, {}, 3, "ZZZZZ-."},
        {"one that ends soon after a click ends zoomed in", {{2, 400, 300}}, {}, 3, "...-ZZZ"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shape(AnticipatingZoom::moves(c.clicks, c.pointer, width, height, c.duration), c.duration),
                  c.shape)
            << c.what;
}

/// What must be true of any plan.
void expectKept(const std::vector<CameraMove>& moves, const std::vector<Click>& clicks, double w, double h,
                double duration) {
    CameraState before{1, w / 2, h / 2};
    double busyUntil = 0, lastReversal = -INFINITY;
    const CameraMove* previous = nullptr;
    for (const CameraMove& move : moves) {
        EXPECT_EQ(move.from, before);
        EXPECT_GE(move.tStart, busyUntil);
        EXPECT_LE(move.tEnd, duration);
        before = move.to;
        busyUntil = move.tEnd;
        if (move.tStart == 0 && move.tEnd == 0) continue;  // the movie begins zoomed in
        EXPECT_GE(move.tEnd - move.tStart, config.minMove - 1e-9);
        if (previous && AnticipatingZoom::isReversal(move, *previous, w, h)) {
            EXPECT_GE(move.tStart - lastReversal, 2.0);
            lastReversal = move.tStart;
        }
        previous = &move;
        // The bounds hold at every moment, by what is seen: differences of the sampled camera.
        const double step = (move.tEnd - move.tStart) / 64;
        const auto at = [&](int i) {
            return ZoomEngine::evaluate(std::span(&move, 1), move.tStart + i * step, w, h);
        };
        for (int i = 1; i < 64; ++i) {
            const CameraState a = at(i - 1), b = at(i), c = at(i + 1);
            const double slack = 1 + 1e-6;
            const double speed = std::hypot((b.cx - a.cx) / w, (b.cy - a.cy) / h) / step;
            const double change =
                std::hypot((c.cx - 2 * b.cx + a.cx) / w, (c.cy - 2 * b.cy + a.cy) / h) / (step * step);
            EXPECT_LE(speed, config.maxSpeed * slack);
            EXPECT_LE(change, config.maxAcceleration * slack);
            EXPECT_LE(std::abs(b.zoom - a.zoom) / step, config.maxZoomSpeed * slack);
            EXPECT_LE(std::abs(c.zoom - 2 * b.zoom + a.zoom) / (step * step),
                      config.maxZoomAcceleration * slack);
        }
    }
    for (const Click& click : clicks)
        for (const double t : {click.t - config.lead / 2, click.t, click.t + config.linger / 2}) {
            if (t < 0) continue;
            const auto crop = ZoomEngine::cropRect(ZoomEngine::evaluate(moves, t, w, h), w, h);
            const double dx = config.margin * crop.w, dy = config.margin * crop.h, slack = 1e-6 * w;
            EXPECT_TRUE(crop.x < slack || click.px >= crop.x + dx - slack) << click.t;
            EXPECT_TRUE(crop.maxX() > w - slack || click.px <= crop.maxX() - dx + slack) << click.t;
            EXPECT_TRUE(crop.y < slack || click.py >= crop.y + dy - slack) << click.t;
            EXPECT_TRUE(crop.maxY() > h - slack || click.py <= crop.maxY() - dy + slack) << click.t;
            EXPECT_TRUE(crop.x >= -slack && crop.maxX() <= w + slack && crop.y >= -slack &&
                        crop.maxY() <= h + slack);
        }
}

TEST(AnticipatingZoomTest, AnyPlanShowsItsClicksAndMovesGently) {
    std::mt19937 random(18);
    const auto below = [&](double limit) { return std::uniform_real_distribution<>(0, limit)(random); };
    std::size_t moved = 0;
    for (int round = 0; round < 400 && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const double duration = 1 + below(90), w = 100 + below(4000), h = 100 + below(3000);
        // Work at a few places, at paces from hasty to slow; now and then somewhere else.
        const double pace = 0.05 + below(6), spread = below(0.7);
        std::vector<Click> clicks;
        double x = below(w), y = below(h);
        for (double t = below(pace); t <= duration; t += below(2 * pace)) {
            if (below(1) < spread) x = below(w), y = below(h);
            clicks.push_back(
                {t, std::clamp(x + below(40) - 20, 0.0, w), std::clamp(y + below(40) - 20, 0.0, h)});
        }
        std::vector<PointerSample> pointer;
        if (round % 2 == 0)
            pointer = pointerOf(duration, [&, next = std::size_t{0}](double t) mutable {
                while (next + 1 < clicks.size() && clicks[next].t < t) ++next;
                std::optional<Transforms::FramePoint> point;
                if (!clicks.empty()) point = {clicks[next].px, clicks[next].py};
                return below(1) < 0.01 ? std::nullopt : point;
            });
        std::ranges::shuffle(clicks, random);
        const auto moves = AnticipatingZoom::moves(clicks, pointer, w, h, duration);
        expectKept(moves, clicks, w, h, duration);
        moved += moves.size();
        EXPECT_EQ(AnticipatingZoom::moves(clicks, pointer, w, h, duration), moves) << "the same each time";
    }
    EXPECT_GT(moved, 1000u) << "a camera that rests keeps every bound";
}

}  // namespace
}  // namespace cobaltreel::anticipating

#include "Platform/Capture/Frames/DirtyArea.hpp"
#include "Platform/Capture/Frames/FramePacer.hpp"
#include "Platform/Capture/Frames/Letterbox.hpp"
#include "Platform/Capture/Frames/RectList.hpp"
#include "Platform/Capture/Xcb/UnpaintedArea.hpp"

#include <gmock/gmock.h>

namespace platform::test {

TEST(LetterboxTest, KeepsProportionsAndTakesOnePixelAsRounding) {
    const struct {
        int sourceWidth, sourceHeight, frameWidth, frameHeight;
        PixelRect fitted;
    } cases[] = {
        {1280, 720, 1280, 720, {0, 0, 1280, 720}}, {801, 601, 802, 602, {0, 0, 801, 601}},
        {1280, 720, 640, 640, {0, 140, 640, 360}}, {100, 400, 400, 400, {150, 0, 100, 400}},
        {801, 601, 804, 602, {1, 0, 802, 602}},    {1, 5000, 100, 100, {49, 0, 1, 100}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(letterboxed(c.sourceWidth, c.sourceHeight, c.frameWidth, c.frameHeight), c.fitted)
            << c.sourceWidth << "x" << c.sourceHeight << " in " << c.frameWidth << "x" << c.frameHeight;
}

TEST(DirtyAreaTest, HoldsAllThatWasAddedInFewRectanglesWithoutOverlap) {
    DirtyArea dirty;
    std::vector<PixelRect> added;
    for (int i = 0; i < 200; ++i) {
        added.push_back({i * 7919 % 1900, i * 104729 % 1000, 1 + i % 17, 1 + i % 5});
        dirty.add(added.back());
        EXPECT_TRUE(without(added, dirty.rects()).empty());
        EXPECT_LE(dirty.rects().size(), 12U);
        for (std::size_t a = 0; a < dirty.rects().size(); ++a)
            for (std::size_t b = 0; b < a; ++b)
                EXPECT_TRUE(dirty.rects()[a].intersected(dirty.rects()[b]).isEmpty());
    }
}

/// What the server tells of a window of 100 x 80, of which the left half is not painted yet, that is resized.
TEST(UnpaintedAreaTest, BelievesOnlyPaintingsThatAreNotTheServersOwnMoves) {
    const PixelRect whole{0, 0, 100, 80}, larger{0, 0, 120, 80}, leftHalf{0, 0, 50, 80};
    const auto isUnpainted = [](const UnpaintedArea& area, int x, int y) {
        for (const PixelRect& each : area.rects())
            if (each.contains(x, y)) return true;
        return false;
    };
    UnpaintedArea area;
    area.setShape({{-1000, -1000, 5000, 5000}});
    area.begin(whole);
    area.paint({50, 0, 50, 80});
    EXPECT_EQ(area.rects(), RectList{leftHalf});

    area.resize(larger);
    area.paint({100, 0, 20, 80});  // the server reports what was gained
    area.paint(whole);             // the server moves over what it keeps
    EXPECT_TRUE(isUnpainted(area, 10, 10)) << "moved over unpainted";
    EXPECT_FALSE(isUnpainted(area, 60, 10));
    EXPECT_TRUE(isUnpainted(area, 110, 10)) << "gained";
    area.settle();
    area.paint(leftHalf);
    area.paint({100, 0, 20, 80});
    EXPECT_TRUE(area.rects().empty());

    // A shape that does not reach as far as the window: what it gains is reported once by the server.
    area.setShape({whole});
    area.begin(larger, {whole});
    area.paint({100, 0, 20, 80});
    EXPECT_TRUE(isUnpainted(area, 110, 10));
    area.setShape({larger});
    area.paint({100, 0, 20, 80});
    EXPECT_TRUE(area.rects().empty());

    // A window inside that is moved takes what is unpainted with it.
    area.owe({0, 0, 20, 20});
    area.move({0, 0, 20, 20}, 40, 0);
    area.paint({40, 0, 20, 20});
    EXPECT_TRUE(isUnpainted(area, 45, 5));
    area.settle();
    area.paint({40, 0, 20, 20});
    area.paint({0, 0, 20, 20});
    EXPECT_TRUE(area.rects().empty());
}

TEST(FramePacerTest, GivesASourceOfTheSameRateOneFrameASlotWhateverItsJitter) {
    constexpr double interval = 1.0 / 60;
    for (const double phase : {0.0, 0.0005, 0.4, 0.999}) {
        FramePacer grid(interval);
        grid.take(1000);
        int taken = 0;
        double last = 1000;
        for (int i = 1; i <= 600; ++i) {
            const double jitter = (i * 7919 % 21 - 10) * 1e-4;  // up to a millisecond to either side
            const double drawn = 1000 + (i + phase) * interval + jitter;
            const double at = std::max(drawn, grid.nextTime());
            ASSERT_LT(at - drawn, 1.2 * interval);
            grid.take(at);
            EXPECT_GT(at, last);
            last = at;
            ++taken;
        }
        EXPECT_EQ(taken, 600);
        EXPECT_NEAR(last, 1000 + 600 * interval, 2 * interval);
    }
}

TEST(FramePacerTest, DoesNotCatchUpAfterAPause) {
    FramePacer grid(0.1);
    grid.take(10);
    grid.take(12.34);
    EXPECT_NEAR(grid.nextTime(), 12.4, 1e-9);
    grid.take(12.4);
    EXPECT_NEAR(grid.nextTime(), 12.5, 1e-9);
}

}  // namespace platform::test

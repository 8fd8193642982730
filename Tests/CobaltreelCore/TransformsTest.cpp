#include "CobaltreelCore/Transforms.hpp"
#include "CobaltreelCore/TrimMath.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using Transforms::FramePoint;

TEST(TransformsTest, DisplayPixelsCountFromTheTopLeft) {
    const DisplayFrame main{0, 0, 1440, 900};
    const DisplayFrame left{-1920, -180, 1920, 1080};
    const struct {
        double x, y;
        DisplayFrame frame;
        double scale;
        std::optional<FramePoint> expected;
    } cases[]{
        {100, 800, main, 2, FramePoint{200, 200}},
        {0, 0, main, 2, FramePoint{0, 1800}},  // left and bottom edges are inside
        {1440, 10, main, 2, std::nullopt},     // right and top edges are not
        {10, 900, main, 2, std::nullopt},
        {-0.5, 10, main, 2, std::nullopt},
        {-1919, -179, left, 1, FramePoint{1, 1079}},
        {0, 0, left, 1, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Transforms::displayPixel(c.x, c.y, c.frame, c.scale), c.expected) << c.x << ", " << c.y;
}

TEST(TransformsTest, WindowPixelsAreFlippedAtTheMainScreensHeight) {
    const WindowFrameSample window{0, 100, 50, 400, 300};
    const struct {
        double x, y;
        std::optional<FramePoint> expected;
    } cases[]{
        {100, 850, FramePoint{0, 0}},  // left and top edges are inside
        {150, 800, FramePoint{100, 100}}, {499, 551, FramePoint{798, 598}}, {500, 800, std::nullopt},
        {150, 550, std::nullopt},         {150, 850.5, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Transforms::windowPixel(c.x, c.y, window, 900, 2), c.expected) << c.x << ", " << c.y;
}

SessionMeta displayMeta() {
    SessionMeta meta = SessionMeta::makeDefault();
    meta.displayFramePoints = {0, 0, 1440, 900};
    return meta;
}

TEST(ClicksTest, AreTheMomentsWhenAButtonGoesDown) {
    const struct {
        std::vector<std::int64_t> buttons;
        std::vector<double> times;  // the number of the sample is its time
    } cases[]{
        {{}, {}},         {{0, 1, 1, 0, 1}, {1, 4}}, {{1, 3, 2, 3, 1}, {0, 1, 3}},
        {{4, 5, 4}, {1}}, {{2, 0, 6}, {0, 2}},       {{-1, -4, -1}, {0, 2}},
    };
    for (const auto& c : cases) {
        EventLog log;
        for (const auto buttons : c.buttons)
            log.samples.push_back({static_cast<double>(log.samples.size()), 100, 800, buttons});
        const auto clicks = Transforms::clicks(log, displayMeta(), 900);
        std::vector<double> times;
        for (const Click& click : clicks) {
            times.push_back(click.t);
            EXPECT_EQ(click, (Click{click.t, 200, 200}));
        }
        EXPECT_EQ(times, c.times) << ::testing::PrintToString(c.buttons);
    }
}

TEST(ClicksTest, APressOutsideStaysPressedWhenDraggedInside) {
    EventLog log;
    log.samples = {{0, -5, 10, 1}, {1, 5, 10, 1}, {2, 5, 10, 0}, {3, 5, 10, 1}};
    const auto clicks = Transforms::clicks(log, displayMeta(), 900);
    EXPECT_EQ(clicks, (std::vector<Click>{{3, 10, 1780}}));
}

TEST(ClicksTest, CountFromTheWindowWhereItIsAtTheTime) {
    SessionMeta meta = displayMeta();
    meta.mode = CaptureMode::window;
    const struct {
        const char* what;
        std::vector<WindowFrameSample> frames;
        std::vector<double> presses;
        std::vector<Click> clicks;
    } cases[]{
        {"none before the first frame; of two at one instant the later; none when the window has left",
         {{1, 0, 0, 100, 100}, {2, 50, 0, 100, 100}, {2, 60, 0, 100, 100}, {3, 500, 0, 100, 100}},
         {0.5, 1.5, 2.0, 3.0},
         {{1.5, 140, 20}, {2.0, 20, 20}}},
        {"the last frame not after the press, also when the clock steps back",
         {{1, 10, 0, 100, 100}, {5, 20, 0, 100, 100}, {3, 30, 0, 100, 100}, {6, 40, 0, 100, 100}},
         {2.0, 4.0, 5.5, 7.0},
         {{2, 120, 20}, {4, 80, 20}, {5.5, 80, 20}, {7, 60, 20}}},
    };
    for (const auto& c : cases) {
        EventLog log;
        log.windowFrames = c.frames;
        for (const double t : c.presses) {
            log.samples.push_back({t, 70, 890, 1});
            log.samples.push_back({t, 70, 890, 0});
        }
        EXPECT_EQ(Transforms::clicks(log, meta, 900), c.clicks) << c.what;
    }
}

TEST(ClicksTest, LieWhereTheFittedPictureOfAResizedWindowShowsThem) {
    SessionMeta meta = displayMeta();
    meta.mode = CaptureMode::window;
    meta.scaleFactor = 1;
    meta.captureWidthPx = 400;
    meta.captureHeightPx = 300;
    struct Case {
        double w, h;    // of the resized window
        double x, y;    // the press inside it, from its top left
        double px, py;  // in the movie
    };
    for (const Case& c : {Case{400, 300, 10, 20, 10, 20}, Case{399, 300, 10, 20, 10, 20},
                          Case{800, 300, 10, 20, 5, 75 + 10}, Case{800, 600, 799, 599, 399.5, 299.5},
                          Case{200, 300, 10, 20, 100 + 10, 20}, Case{100, 75, 50, 30, 200, 120}}) {
        EventLog log;
        log.windowFrames = {{1, 100, 100, 400, 300}, {2, 100, 100, c.w, c.h}};
        log.samples = {{3, 100 + c.x, 900 - 100 - c.y, 1}};
        EXPECT_EQ(Transforms::clicks(log, meta, 900), (std::vector<Click>{{3, c.px, c.py}}))
            << c.w << " x " << c.h;
    }
}

TEST(OutputSizeTest, IsEvenAndNeverLargerThanTheCapture) {
    const struct {
        std::int64_t w, h;
        std::optional<std::int64_t> target;
        OutputSize expected;
    } cases[]{
        {1921, 1081, std::nullopt, {1920, 1080}},
        {2880, 1800, 1080, {1728, 1080}},
        {1366, 768, 720, {1280, 720}},
        {3024, 1964, 1080, {1662, 1080}},
        {1280, 720, 1080, {1280, 720}},
        {1920, 1080, 1080, {1920, 1080}},
        {1921, 1081, 1080, {1918, 1080}},
        {641, 1440, 720, {320, 720}},
        {641, 361, 721, {640, 360}},
        {1, 1, std::nullopt, {0, 0}},
        {643, 1440, 720, {322, 720}},  // 321.5 rounds away from zero
    };
    for (const auto& c : cases)
        EXPECT_EQ(OutputSize::compute(c.w, c.h, c.target), c.expected) << c.w << " x " << c.h;
}

TEST(OutputSizeTest, FillsABoxInItsOwnShape) {
    const struct {
        std::int64_t w, h;
        OutputSize box, expected;
    } cases[]{
        {1920, 1080, {1280, 720}, {1280, 720}}, {1920, 1200, {1280, 720}, {1152, 720}},
        {1440, 900, {7680, 720}, {1152, 720}},  {640, 360, {1920, 1080}, {1920, 1080}},
        {1081, 1921, {720, 720}, {404, 720}},   {1366, 768, {1280, 720}, {1280, 720}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(OutputSize::fitted(c.w, c.h, c.box), c.expected) << c.w << " x " << c.h;
}

TEST(TransformsTest, ThePointerIsPlacedAsClicksAre) {
    EventLog log;
    log.samples = {{1, 100, 800, 0}, {2, 1440, 800, 0}, {3, 0, 0.5, 1}};
    const auto pointer = Transforms::pointer(log, displayMeta(), 900);
    EXPECT_EQ(pointer, (std::vector<PointerSample>{{1, {{200, 200}}}, {2, std::nullopt}, {3, {{0, 1799}}}}));
}

}  // namespace
}  // namespace cobaltreel

#include "Platform/Capture/CaptureHarness.hpp"

#include <atomic>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

constexpr std::uint32_t ownColor = 0xff00ff;
constexpr std::uint32_t beneathColor = 0x11aa33;

/// Records the main display without the windows of the class "OwnApp" and counts the pixels of their
/// color in every frame.
class ExcludedWindowsTest : public ::testing::Test {
  protected:
    void record() {
        const Display display = service_.shareableContent().displays.at(0);
        recording_ = std::make_unique<Recording>(
            service_, DisplayContentFilter{display, {{"OwnApp", "OwnApp", 0}}},
            configurationFor(display.width(), display.height()), [this](const PixelBuffer& picture, double) {
                for (int y = 0; y < picture.height(); y += 3)
                    for (int x = 0; x < picture.width(); x += 3)
                        if (colorAt(picture, x, y) == ownColor) ++leaked_;
            });
        ASSERT_EQ(recording_->startError(), "");
    }
    std::unique_ptr<ColorWindow> own(int x, int y, int width, int height, bool isOverride) {
        auto window = std::make_unique<ColorWindow>(connection_, x, y, width, height,
                                                    ColorWindow::Look{ownColor, isOverride, "Own"});
        using namespace std::string_literals;
        window->setText(XCB_ATOM_WM_CLASS, "own\0OwnApp\0"s);
        return window;
    }
    bool shows(int x, int y, std::uint32_t color) {
        return recording_->waitForPicture(
            [=](const PixelBuffer& picture) { return colorAt(picture, x, y) == color; });
    }

    XcbConnection connection_;
    XcbScreenCaptureService service_;
    std::unique_ptr<Recording> recording_;
    std::atomic<int> leaked_{0};
};

}  // namespace

TEST_F(ExcludedWindowsTest, NeverShowAndTheWindowBeneathDoes) {
    for (const bool isOverride : {true, false}) {
        SCOPED_TRACE(isOverride ? "override-redirect" : "managed");
        ColorWindow beneath(connection_, 100, 100, 600, 400, {beneathColor, true, "Beneath"});
        beneath.show();
        auto covering = own(250, 200, 200, 150, isOverride);
        covering->show();
        record();
        EXPECT_TRUE(shows(350, 280, beneathColor)) << "already covered when the recording began";

        // What is drawn beneath the cover is seen although it does not change the screen.
        beneath.paint(0x2255cc);
        EXPECT_TRUE(shows(350, 280, 0x2255cc));

        for (int step = 0; step < 40; ++step) covering->move(250 + 20 * step, 200 + 5 * step);
        beneath.paint(beneathColor);
        EXPECT_TRUE(shows(350, 280, beneathColor));
        covering->hide();
        covering->move(150, 150);
        covering->show();
        covering->raise();
        beneath.paint(0x777711);
        EXPECT_TRUE(shows(200, 200, 0x777711));
        beneath.resize(700, 420);
        beneath.move(90, 120);
        beneath.paint(beneathColor);
        EXPECT_TRUE(shows(200, 200, beneathColor));

        // A window above the cover is in front of everything.
        ColorWindow above(connection_, 160, 160, 60, 60, {0xdddd00, true, "Above"});
        above.show();
        EXPECT_TRUE(shows(190, 190, 0xdddd00));
        recording_->stop();
        EXPECT_EQ(leaked_, 0);
    }
}

TEST_F(ExcludedWindowsTest, LeaveNoTraceInAWindowThatPaintsItselfLate) {
    // Without a background, as toolkits have it: what the server uncovers keeps what was on the screen until
    // the program paints, here never before the cover has been shown for a while.
    ColorWindow beneath(connection_, 100, 100, 600, 400, {beneathColor, true, "Beneath"});
    beneath.show();
    const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(connection_.get(), beneath.id(), XCB_CW_BACK_PIXMAP, &none);
    record();
    ASSERT_TRUE(shows(350, 280, beneathColor));
    auto covering = own(250, 200, 200, 150, true);
    covering->show();
    recording_->settle(std::chrono::milliseconds(500));
    EXPECT_EQ(leaked_, 0) << "before the window was painted";
    beneath.paint(0x2255cc);
    EXPECT_TRUE(shows(350, 280, 0x2255cc));
    EXPECT_EQ(leaked_, 0);
}

TEST_F(ExcludedWindowsTest, LeaveTheRootsBackgroundWhereThereIsNoWindow) {
    rig::ChildProcess scene({rigProgram("RigScene"), "--still"});
    ASSERT_EQ(scene.readLine(), "ready");
    record();
    ASSERT_TRUE(recording_->waitForFrames(1));
    recording_->settle();
    const std::uint32_t background = colorAt(*recording_->latest(), 640, 620);
    const std::uint32_t lower = colorAt(*recording_->latest(), 640, 690);
    ASSERT_NE(background, lower);
    auto covering = own(600, 600, 100, 110, true);
    covering->show();
    recording_->settle();
    EXPECT_EQ(colorAt(*recording_->latest(), 640, 620), background);
    EXPECT_EQ(colorAt(*recording_->latest(), 640, 690), lower);
    recording_->stop();
    EXPECT_EQ(leaked_, 0);
}

TEST_F(ExcludedWindowsTest, GiveNoFramesForTheirOwnDrawing) {
    ColorWindow beneath(connection_, 100, 100, 600, 400, {beneathColor, true, "Beneath"});
    beneath.show();
    auto covering = own(250, 200, 200, 150, true);
    covering->show();
    record();
    ASSERT_TRUE(shows(350, 280, beneathColor));
    const std::size_t before = recording_->settle();
    for (int i = 0; i < 20; ++i) covering->paint(i % 2 == 0 ? 0xff00fe : ownColor);
    EXPECT_EQ(recording_->settle(), before);
    beneath.paint(0x2255cc);
    EXPECT_TRUE(shows(350, 280, 0x2255cc));
}

TEST_F(ExcludedWindowsTest, AnIconInSomebodyElsesTrayIsCoveredByTheTray) {
    ColorWindow beneath(connection_, 700, 0, 300, 200, {beneathColor, true, "Beneath"});
    beneath.show();
    // Some window managers' own trays have no class of theirs.
    for (const int width : {200, 30}) {
        SCOPED_TRACE(width);
        ColorWindow tray(connection_, 800, 10, width, 28, {0x445566, true, "Tray"});
        tray.show();
        auto icon = own(0, 0, 24, 24, true);
        icon->setCardinals("_XEMBED_INFO", {0, 1});
        const int x = width - 26;
        xcb_reparent_window(connection_.get(), icon->id(), tray.id(), static_cast<std::int16_t>(x), 2);
        icon->show();
        record();
        // A tray for this icon alone would not be there.
        EXPECT_TRUE(shows(800 + x + 9, 21, width == 200 ? 0x445566 : beneathColor));
        EXPECT_TRUE(shows(801, 11, width == 200 ? 0x445566 : beneathColor));
        const std::size_t before = recording_->settle();
        for (int i = 0; i < 10; ++i) icon->paint(i % 2 == 0 ? 0xff00fe : ownColor);
        EXPECT_EQ(recording_->settle(), before) << "its clock makes no pictures";
        recording_.reset();
    }
    EXPECT_EQ(leaked_, 0);
}

TEST_F(ExcludedWindowsTest, TheRootsColorIsSeenWhereTheyAre) {
    const std::uint32_t color = 0x336699, before = 0;
    const auto paintRoot = [&](std::uint32_t with) {
        xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_BACK_PIXEL, &with);
        xcb_clear_area(connection_.get(), 0, connection_.root(), 0, 0, 0, 0);
    };
    paintRoot(color);
    const auto covering = own(900, 300, 200, 150, true);
    covering->show();
    record();
    EXPECT_TRUE(shows(1000, 380, color));
    EXPECT_EQ(leaked_, 0);
    const std::size_t settled = recording_->settle();
    EXPECT_EQ(recording_->settle(), settled) << "looking for the color is no change of its own";
    recording_.reset();
    paintRoot(before);
    covering->settle();
}

}  // namespace platform::test

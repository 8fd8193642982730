#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/Desktop/VirtualMonitor.hpp"
#include "Platform/Desktop/Xcb/XcbDesktop.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/PrivateServer.hpp"
#include "Platform/Xcb/XcbMonitors.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

class XcbDesktopTest : public ::testing::Test {
  protected:
    bool pointerIs(double x, double y, std::int64_t buttons) {
        return eventually([=, this] {
            const PointerState now = desktop_.pointer();
            return now.x == x && std::abs(now.y - y) < 0.01 && now.buttons == buttons;
        });
    }

    XcbConnection connection_;
    XcbDesktop desktop_;
};

TEST(CompoundTextTest, IsReadAsFarAsItsSetsAreKnown) {
    const std::pair<std::string, std::string> cases[]{
        {"plain", "plain"},
        {"caf\xe9", "café"},
        {"a \x1b%G\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d\x1b%@ b", "a שלום b"},
        {"\x1b-H\xf9\xec\xe5\xed\x1b-A!", "שלום!"},
        {"\x1b%G\xd7\xa9", "ש"},
        {"x\x1b$(B0l\x1b(By", "x0ly"},
        {"end\x1b", "end"},
    };
    for (const auto& [given, expected] : cases) EXPECT_EQ(utf8OfCompoundText(given), expected);
}

}  // namespace

TEST_F(XcbDesktopTest, TellsThePointerFromTheBottomLeftWithItsButtons) {
    movePointer(connection_, 300, 20);
    EXPECT_TRUE(pointerIs(300, 700, 0));
    const struct {
        std::uint8_t button;
        std::int64_t bits;
    } cases[] = {{1, 1}, {3, 2}, {2, 4}, {8, 8}, {9, 16}, {4, 0}, {7, 0}};
    for (const auto& c : cases) {
        fakeInput(connection_, XCB_BUTTON_PRESS, c.button);
        EXPECT_TRUE(pointerIs(300, 700, c.bits)) << "button " << int{c.button};
        fakeInput(connection_, XCB_BUTTON_RELEASE, c.button);
        EXPECT_TRUE(pointerIs(300, 700, 0));
    }
}

TEST_F(XcbDesktopTest, APointerAtAnEdgeIsWithinItsScreen) {
    const Rect whole{0, 0, 1280, 720};
    for (const auto& [x, y] : {std::pair{0, 0}, {1279, 719}, {640, 0}, {0, 719}}) {
        movePointer(connection_, x, y);
        ASSERT_TRUE(pointerIs(x, 720 - y, 0));
        const PointerState now = desktop_.pointer();
        EXPECT_TRUE(now.x >= whole.x && now.x < whole.maxX() && now.y >= whole.y && now.y < whole.maxY())
            << now.x << ", " << now.y;
    }
}

TEST_F(XcbDesktopTest, ListsScreensAroundTheMainOne) {
    const VirtualMonitor left("LEFT", {0, 0, 500, 720}, false);
    const VirtualMonitor right("RIGHT", {500, 100, 780, 620}, true);
    XcbDesktop desktop;
    const auto screens = desktop.screens();
    ASSERT_GE(screens.size(), 2U);
    EXPECT_EQ(screens[0].frame, (Rect{0, 0, 780, 620}));
    const auto monitors = readMonitors(connection_);
    EXPECT_EQ(screens[0].displayID, monitors.at(0).displayID);
    EXPECT_TRUE(std::any_of(screens.begin(), screens.end(), [](const Screen& screen) {
        return screen.frame == Rect{-500, 0, 500, 720};
    }));
    movePointer(connection_, 510, 150);
    EXPECT_TRUE(eventually([&] {
        const PointerState now = desktop.pointer();
        return now.x == 10 && std::abs(now.y - 570) < 0.01;
    }));
}

TEST_F(XcbDesktopTest, FollowsAWindowsFrame) {
    ColorWindow window(connection_, 200, 150, 320, 240, {0x123456, false, "Framed"});
    EXPECT_EQ(desktop_.windowBounds(window.id()), std::nullopt) << "not shown yet";
    window.show();
    // Decorated by the window manager a moment after.
    ASSERT_TRUE(eventually([&] {
        const auto bounds = desktop_.windowBounds(window.id());
        return bounds && bounds->h > 240;
    }));
    const auto listed = XcbScreenCaptureService().shareableContent().windows;
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(desktop_.windowBounds(window.id()), listed[0].frame) << "the same as in the content list";
    const Rect before = *desktop_.windowBounds(window.id());
    window.resize(400, 300);
    EXPECT_TRUE(eventually([&] {
        const auto bounds = desktop_.windowBounds(window.id());
        return bounds && bounds->w == before.w + 80 && bounds->h == before.h + 60;
    }));
    window.hide();
    EXPECT_EQ(desktop_.windowBounds(window.id()), std::nullopt);
    EXPECT_EQ(desktop_.windowBounds(0x7fffff1), std::nullopt);
}

TEST(DesktopWithoutServerTest, KeepsAnsweringAfterItsServerHasGone) {
    PrivateServer server;
    XcbDesktop desktop(server.display());
    const PointerState last = desktop.pointer();
    server.end(SIGKILL);
    ASSERT_TRUE(eventually([&] { return desktop.screens().empty(); }));
    EXPECT_EQ(desktop.pointer().x, last.x);
    EXPECT_EQ(desktop.pointer().y, last.y);
    EXPECT_EQ(desktop.windowBounds(1), std::nullopt);
}

}  // namespace platform::test

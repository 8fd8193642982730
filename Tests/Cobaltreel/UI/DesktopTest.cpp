#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/ApplicationWindow.hpp"
#include "Cobaltreel/UI/CountdownWindow/Countdown.hpp"
#include "Cobaltreel/UI/CountdownWindow/CountdownWindow.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Desktop/Xcb/XcbKeyGrabber.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Platform/Xcb/XcbWindows.hpp"
#include "Rig/QtEventually.hpp"

#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QTest>
#include <algorithm>

namespace cobaltreel {
namespace {

bool isDimmed(QPoint position) {
    const QRgb pixel = screenPixel(position);
    const auto near = [](int value, int full) { return std::abs(value - full * 0.75) <= 2; };
    return near(qRed(pixel), qRed(ApplicationWindow::color)) &&
           near(qGreen(pixel), qGreen(ApplicationWindow::color)) &&
           near(qBlue(pixel), qBlue(ApplicationWindow::color));
}

constexpr xcb_keysym_t escape = 0xff1b, letterA = 'a';

class DesktopTest : public LocalisedTest {
  protected:
    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::XcbCompositor> compositor = std::make_shared<platform::XcbCompositor>();
    std::shared_ptr<platform::XcbKeyGrabber> keys = std::make_shared<platform::XcbKeyGrabber>(loop);
    Countdown countdown{loop, keys, CountdownWindow::factory(compositor)};
    platform::HostClock clock;
    DesktopInput input;
    int cancelled = 0, done = 0;

    void run() {
        countdown.run([this] { ++cancelled; }, [this] { ++done; });
    }
    void watchWholeCountdown();
};

void DesktopTest::watchWholeCountdown() {
    const QPoint corner(2, 2), side(300, 300), centre = QGuiApplication::primaryScreen()->geometry().center();
    const double start = clock.now();
    run();
    EXPECT_TRUE(eventually([&] { return isDimmed(side); })) << std::hex << screenPixel(side);
    EXPECT_TRUE(isDimmed(corner));
    const QImage digit = screenPart({centre.x() - 80, centre.y() - 80, 160, 160});
    int white = 0;
    for (int y = 0; y < digit.height(); ++y)
        for (int x = 0; x < digit.width(); ++x) white += digit.pixel(x, y) == qRgb(255, 255, 255);
    EXPECT_GT(white, 1000) << "the digit stands in the middle";
    ASSERT_TRUE(eventually([&] { return done > 0; }));
    EXPECT_GE(clock.now() - start, 2.39);
    EXPECT_EQ(cancelled, 0);
    EXPECT_TRUE(eventually([&] { return screenPixel(side) == ApplicationWindow::color; }))
        << "nothing of it remains";
}

TEST_F(DesktopTest, CountdownDimsAFullScreenWindowWithoutACompositingManager) {
    ASSERT_FALSE(compositor->isRunning());
    const ApplicationWindow application(true);
    watchWholeCountdown();
}

TEST_F(DesktopTest, CountdownDimsAFullScreenWindowUnderACompositingManager) {
    QProcess manager;
    manager.start("xcompmgr", {});
    ASSERT_TRUE(manager.waitForStarted()) << "install xcompmgr";
    ASSERT_TRUE(eventually([&] { return compositor->isRunning(); }));
    {
        const ApplicationWindow application(true);
        watchWholeCountdown();
    }
    manager.terminate();
    EXPECT_TRUE(manager.waitForFinished());
    EXPECT_FALSE(compositor->isRunning());
}

TEST_F(DesktopTest, EscapeIsTheCountdownsAndEveryOtherKeyTheApplications) {
    ApplicationWindow application(false);
    for (const bool ofAnotherProgram : {false, true}) {
        application.keys.clear();
        cancelled = done = 0;
        run();
        EXPECT_TRUE(eventually([&] { return isDimmed({300, 300}); }));
        EXPECT_TRUE(application.isActive()) << "the countdown leaves the keyboard where it is";
        input.key(letterA);
        EXPECT_TRUE(eventually([&] { return !application.keys.empty(); }));
        // As an open menu does.
        if (ofAnotherProgram) {
            platform::XcbConnection& other = input.connection();
            const auto grab = other.reply(xcb_grab_keyboard_reply,
                                          xcb_grab_keyboard(other.get(), 0, other.root(), XCB_CURRENT_TIME,
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            ASSERT_TRUE(grab && grab->status == XCB_GRAB_STATUS_SUCCESS);
        }
        input.key(escape);
        EXPECT_TRUE(eventually([&] { return cancelled > 0; }));
        if (ofAnotherProgram) {
            xcb_ungrab_keyboard(input.connection().get(), XCB_CURRENT_TIME);
            xcb_flush(input.connection().get());
        }
        EXPECT_TRUE(eventually([] { return screenPixel({300, 300}) == ApplicationWindow::color; }));
        EXPECT_EQ(application.keys, std::vector<int>{Qt::Key_A});

        // The key is given back: the next Escape is the application's.
        EXPECT_TRUE(QTest::qWaitForWindowActive(&application));
        input.key(escape);
        EXPECT_TRUE(eventually([&] { return application.keys.size() == 2; }));
        EXPECT_EQ(application.keys.back(), Qt::Key_Escape);
        EXPECT_EQ(cancelled, 1);
        EXPECT_EQ(done, 0);
    }
}

TEST_F(DesktopTest, TheWindowManagerGivesSettingsTheirPlaceAndTheKeyboardAndLeavesTheirSize) {
    SettingsWindow settings;
    settings.open();
    AppWindow* window = settings.window();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    EXPECT_EQ(window->size(), QSize(320, 140));
    const QPoint off = window->frameGeometry().center() - window->screen()->availableGeometry().center();
    EXPECT_LE(std::abs(off.x()), 2);
    EXPECT_LE(std::abs(off.y()), 30) << "the title bar is the window manager's";

    platform::XcbConnection& server = input.connection();
    const auto types = platform::cardinals(server, static_cast<xcb_window_t>(window->winId()),
                                           server.atom("_NET_WM_ALLOWED_ACTIONS"));
    const auto allowed = [&](const char* action) {
        return std::find(types.begin(), types.end(), server.atom(action)) != types.end();
    };
    EXPECT_TRUE(allowed("_NET_WM_ACTION_CLOSE"));
    EXPECT_FALSE(allowed("_NET_WM_ACTION_RESIZE"));
    EXPECT_FALSE(allowed("_NET_WM_ACTION_MAXIMIZE_VERT"));

    // A click on the leading half of the control, at the screen's own pixels.
    AppSettings::shared().setLanguage(Language::en);
    const QSize before = window->size();
    input.click(window->mapToGlobal(QPoint(170, 60)));
    EXPECT_TRUE(eventually([] { return AppSettings::shared().language() == Language::he; }));
    input.click(window->mapToGlobal(QPoint(40, 60)));
    EXPECT_TRUE(eventually([] { return AppSettings::shared().language() == Language::en; }));
    EXPECT_EQ(window->size(), before);
}

}  // namespace
}  // namespace cobaltreel

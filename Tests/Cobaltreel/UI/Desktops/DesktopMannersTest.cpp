// What a person sees of our windows beside another program's, on whatever desktop the rig has started.
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/PopoverView/PanelHarness.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"
#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"
#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"
#include "Platform/Desktop/Xcb/XcbWindowManager.hpp"
#include "Rig/ChildProcess.hpp"

#include <QProcess>

namespace cobaltreel {
namespace {

/// A terminal: a program that takes the keyboard when it is clicked, and knows nothing of ours.
class Terminal {
  public:
    Terminal() {
        for (;;) {
            const std::string line = process_.readLine();
            if (line.empty() || line == "ready") break;
        }
    }

  private:
    rig::ChildProcess process_{
        {"xterm", "-geometry", "60x20+40+120", "-fn", "fixed", "-e", "sh", "-c", "echo ready >&3; exec cat"},
        3};
};

class DesktopMannersTest : public PanelHarness {
  protected:
    DesktopMannersTest() { AppWindows::setWindowManager(manager); }
    ~DesktopMannersTest() override {
        panel.reset();
        AppWindows::setWindowManager(nullptr);
    }

    /// The terminal, wherever the window manager has put it, relative to the main display.
    std::optional<QPoint> terminalPlace() {
        for (const platform::Window& window : service.shareableContent().windows)
            if (window.isOnScreen && window.owningApplication && window.owningApplication->name == "XTerm")
                return QPointF(window.frame.x, window.frame.y).toPoint();
        return std::nullopt;
    }
    /// On the terminal's title or first letter; under a busy fluxbox it may be no larger.
    QPoint onTerminal() {
        std::optional<QPoint> place;
        EXPECT_TRUE(eventually([&] { return (place = terminalPlace()).has_value(); }));
        const QScreen* const main = QGuiApplication::primaryScreen();
        return place.value_or(QPoint()) + main->geometry().topLeft() * main->devicePixelRatio() +
               QPoint(6, 32);
    }
    /// The user works in the terminal, and the time of that is newer than anything that our program knows.
    void workElsewhere() {
        ASSERT_TRUE(eventually([&] {
            input.click(onTerminal());
            QTest::qWait(100);
            return !QGuiApplication::focusWindow();
        }));
        input.key('a');
    }
    /// In the toolkit's points, as its windows are.
    QRect room() const { return AppWindows::room(*QGuiApplication::primaryScreen()); }

    std::shared_ptr<platform::XcbWindowManager> manager = std::make_shared<platform::XcbWindowManager>();
    platform::XcbScreenCaptureService service;
    Terminal terminal;
};

TEST_F(DesktopMannersTest, ThePanelHasTheKeyboardAndGoesAtAPressElsewhere) {
    for (const Language language : allCases<Language>) {
        AppSettings::shared().setLanguage(language);
        workElsewhere();
        open({});
        EXPECT_TRUE(eventually([&] { return room().contains(panel->geometry()); }))
            << "beside bars and docks, and on the main display";
        savePicture("panel");
        input.click(onTerminal());
        EXPECT_TRUE(eventually([&] { return !panel->isOpen(); }));

        // Somebody else keeps the keyboard, as full-screen programs and some window managers do.
        workElsewhere();
        open({});
        platform::XcbConnection& other = input.connection();
        xcb_set_input_focus(other.get(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                            XCB_CURRENT_TIME);
        xcb_flush(other.get());
        if (panel->isOpen()) input.click(onTerminal());
        EXPECT_TRUE(eventually([&] { return !panel->isOpen(); }));
        panel.reset();
        time->advance(1);
    }
}

TEST_F(DesktopMannersTest, ThePanelStandsAtThePointerWhereTheTrayTellsNothing) {
    const QRect inner = room();
    for (const int x : {inner.left() + 30, inner.center().x(), inner.right() - 30}) {
        const QPoint at(x, inner.bottom() + 4);
        open(QRect(at, QSize(1, 1)));
        EXPECT_TRUE(eventually([&] { return room().contains(panel->geometry()); }))
            << panel->x() << " " << panel->y() << " " << panel->height() << " in " << room().y() << " "
            << room().height();
        EXPECT_TRUE(eventually([&] {
            return std::abs(panel->geometry().center().x() - x) <= panel->width() / 2;
        })) << x;
        panel.reset();
    }
}

TEST_F(DesktopMannersTest, TitledWindowsAndAlertsComeInFront) {
    for (const Language language : allCases<Language>) {
        AppSettings::shared().setLanguage(language);
        workElsewhere();
        SettingsWindow settings;
        settings.open();
        EXPECT_TRUE(QTest::qWaitForWindowActive(settings.window(), 10000));
        savePicture("settings");
        workElsewhere();
        settings.open();
        EXPECT_TRUE(QTest::qWaitForWindowActive(settings.window(), 10000)) << "brought back to the front";
        settings.window()->close();

        workElsewhere();
        open({});
        AlertWindows shown;
        int answers = 0;
        shown.present({S::microphoneRequired(), {}, {}}, [&](int) { ++answers; });
        EXPECT_TRUE(eventually([] {
            const QWindow* active = QGuiApplication::focusWindow();
            return active && active->modality() == Qt::ApplicationModal;
        }));
        savePicture("alert");
        EXPECT_TRUE(panel->isOpen()) << "what the alert is about stays";
        input.key(0xff0d);
        EXPECT_TRUE(eventually([&] { return answers == 1; }));
        panel.reset();
    }
}

TEST_F(DesktopMannersTest, WhereverTheUserWorkedLastAWindowIsWholeAndTheOthersAreOffered) {
    for (const QScreen* const screen : QGuiApplication::screens()) {
        const QRect there = screen->geometry();
        input.click(there.topLeft() * screen->devicePixelRatio() +
                    QPoint(there.width(), there.height()) * screen->devicePixelRatio() / 2);
        QTest::qWait(100);
        EXPECT_TRUE(eventually([&] { return terminalPlace().has_value(); }));
        const auto window =
            AppWindows::present(View::ofModule("Cobaltreel.SettingsWindow", "SettingsView",
                                               {{"settings", QVariant::fromValue(&AppWindows::settings())}}),
                                "Wide", QSize(600, 200));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        EXPECT_TRUE(eventually([&] {
            return std::ranges::any_of(QGuiApplication::screens(), [&](const QScreen* each) {
                return each->geometry().contains(window->geometry());
            });
        })) << there.x();
    }
}

TEST_F(DesktopMannersTest, TheBubbleStaysBehindThePanel) {
    open(QRect(room().bottomRight(), QSize(1, 1)));
    BubbleWindowController floating(time, time, nullptr, compositor, manager);
    floating.show(CameraCorner::topLeft, 200, CameraStyle::bubble);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(floating.panel()));
    for (const bool isOpenFirst : {true, false}) {
        if (!isOpenFirst) panel->open(QRect(room().bottomRight(), QSize(1, 1)));
        floating.update(CameraCorner::bottomRight, 200);
        const QRect frame = floating.panel()->geometry();
        ASSERT_TRUE(eventually([&] { return panel->geometry().intersects(frame); }));
        const QPoint ring(frame.center().x(), frame.y() + 1);
        ASSERT_TRUE(panel->geometry().contains(ring));
        const auto isRing = [&] { return qRed(screenPixel(ring)) > 150 && qBlue(screenPixel(ring)) < 60; };
        EXPECT_TRUE(eventually([&] { return !isRing(); })) << "whoever comes first";
        panel->close();
        EXPECT_TRUE(eventually(isRing)) << "in front of everything else";
    }
}

TEST_F(DesktopMannersTest, TheBubbleIsRoundAndKeepsOffBars) {
    QProcess::execute("xsetroot", {"-solid", "#3a6ea5"});
    BubbleWindowController floating(time, time, nullptr, compositor, manager);
    for (const CameraCorner corner : allCases<CameraCorner>) {
        floating.show(corner, 200, CameraStyle::bubble);
        const QRect frame = floating.panel()->geometry();
        EXPECT_TRUE(room().contains(frame)) << rawValue(corner);
        floating.hide();
        QTest::qWait(100);
        const QRgb before = screenPixel(frame.topLeft());
        floating.show(corner, 200, CameraStyle::bubble);
        EXPECT_TRUE(eventually([&] { return qRed(screenPixel({frame.center().x(), frame.y() + 1})) > 150; }));
        EXPECT_EQ(screenPixel(frame.topLeft()), before) << "what is around the empty bubble is seen";
    }
    savePicture("bubble");
}

}  // namespace
}  // namespace cobaltreel

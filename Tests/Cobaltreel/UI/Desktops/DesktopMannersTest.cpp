// What a person sees of our windows beside another program's, on whatever desktop the rig has started.
#include "Cobaltreel/Capture/CoordinatorHarness.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/DesktopInput.hpp"
#include "Cobaltreel/UI/PopoverView/PanelWindow.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"
#include "Cobaltreel/UI/Windows/ScreenRoom.hpp"
#include "Platform/Desktop/Xcb/XcbCompositor.hpp"
#include "Platform/Desktop/Xcb/XcbPointerWatcher.hpp"
#include "Platform/Desktop/Xcb/XcbWindowManager.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Rig/ChildProcess.hpp"

#include <QProcess>
#include <QTest>

namespace cobaltreel {
namespace {

/// On the terminal's title or first letter; under a busy fluxbox it may be no larger.
constexpr QPoint onTerminal(46, 152);

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

class DesktopManners : public CoordinatorTest {
  protected:
    DesktopManners() {
        AppWindows::setWindowManager(manager);
        platform::UserDefaults::setStandard(defaults);
    }
    ~DesktopManners() override {
        panel.reset();
        AppWindows::setWindowManager(nullptr);
        AppSettings::shared().setLanguage(Language::he);
    }

    bool waitUntil(const std::function<bool()>& condition) {
        return QTest::qWaitFor(
            [&] {
                time->drain();
                return condition();
            },
            10000);
    }
    /// The user works in the terminal, and the time of that is newer than anything that our program knows.
    void workElsewhere() {
        ASSERT_TRUE(waitUntil([&] {
            input.click(onTerminal);
            QTest::qWait(100);
            return !QGuiApplication::focusWindow();
        }));
        input.key('a');
    }
    void openPanel(std::optional<QRect> at = {}) {
        panel = std::make_unique<PanelWindow>(*model, PanelWindow::Look::popover, time, compositor, pointer);
        panel->open(at);
        EXPECT_TRUE(QTest::qWaitForWindowActive(panel.get(), 10000)) << "the panel has the keyboard";
    }
    void save(const char* name) {
        QTest::qWait(300);
        const QByteArray folder = qgetenv("COBALTREEL_PICTURES");
        if (folder.isEmpty()) return;
        const QString file =
            QStringLiteral("%1/%2-%3-%4.png")
                .arg(QString::fromLocal8Bit(folder), QString::fromLocal8Bit(qgetenv("COBALTREEL_RIG_WM")),
                     QLatin1String(name),
                     QString::fromStdString(std::string(rawValue(AppSettings::shared().language()))));
        // All of what is seen, whatever the window's visual.
        QProcess::execute("ffmpeg", {"-v", "error", "-y", "-f", "x11grab", "-i", qgetenv("DISPLAY"),
                                     "-frames:v", "1", file});
    }
    /// In the toolkit's points, as its windows are.
    QRect room() const { return AppWindows::room(*QGuiApplication::primaryScreen()); }

    std::shared_ptr<platform::QtMainLoop> loop = std::make_shared<platform::QtMainLoop>();
    std::shared_ptr<platform::XcbWindowManager> manager = std::make_shared<platform::XcbWindowManager>();
    std::shared_ptr<platform::XcbPointerWatcher> pointer =
        std::make_shared<platform::XcbPointerWatcher>(loop);
    std::shared_ptr<platform::XcbCompositor> compositor = std::make_shared<platform::XcbCompositor>();
    std::unique_ptr<PopoverModel> model = std::make_unique<PopoverModel>(*coordinator, time, time);
    std::unique_ptr<PanelWindow> panel;
    Terminal terminal;
    DesktopInput input;
};

TEST_F(DesktopManners, ThePanelHasTheKeyboardAndGoesAtAPressElsewhere) {
    for (const Language language : allCases<Language>) {
        AppSettings::shared().setLanguage(language);
        workElsewhere();
        openPanel();
        EXPECT_TRUE(waitUntil([&] { return room().contains(panel->geometry()); }))
            << "beside bars and docks, and on the main display";
        save("panel");
        input.click(onTerminal);
        EXPECT_TRUE(waitUntil([&] { return !panel->isOpen(); }));

        // Somebody else keeps the keyboard, as full-screen programs and some window managers do.
        workElsewhere();
        openPanel();
        platform::XcbConnection& other = input.connection();
        xcb_set_input_focus(other.get(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                            XCB_CURRENT_TIME);
        xcb_flush(other.get());
        if (panel->isOpen()) input.click(onTerminal);
        EXPECT_TRUE(waitUntil([&] { return !panel->isOpen(); }));
        panel.reset();
        time->advance(1);
    }
}

TEST_F(DesktopManners, ThePanelStandsAtThePointerWhereTheTrayTellsNothing) {
    const QRect inner = room();
    for (const int x : {inner.left() + 30, inner.center().x(), inner.right() - 30}) {
        const QPoint at(x, inner.bottom() + 4);
        openPanel(QRect(at, QSize(1, 1)));
        EXPECT_TRUE(waitUntil([&] { return room().contains(panel->geometry()); }))
            << panel->x() << " " << panel->y() << " " << panel->height() << " in " << room().y() << " "
            << room().height();
        EXPECT_TRUE(waitUntil([&] {
            return std::abs(panel->geometry().center().x() - x) <= panel->width() / 2;
        })) << x;
        panel.reset();
    }
}

TEST_F(DesktopManners, TitledWindowsAndAlertsComeInFront) {
    for (const Language language : allCases<Language>) {
        AppSettings::shared().setLanguage(language);
        workElsewhere();
        SettingsWindow settings;
        settings.open();
        EXPECT_TRUE(QTest::qWaitForWindowActive(settings.window(), 10000));
        save("settings");
        workElsewhere();
        settings.open();
        EXPECT_TRUE(QTest::qWaitForWindowActive(settings.window(), 10000)) << "brought back to the front";
        settings.window()->close();

        workElsewhere();
        openPanel();
        AlertWindows shown;
        int answers = 0;
        shown.present({S::microphoneRequired(), {}, {}}, [&](int) { ++answers; });
        EXPECT_TRUE(waitUntil([] {
            const QWindow* active = QGuiApplication::focusWindow();
            return active && active->modality() == Qt::ApplicationModal;
        }));
        save("alert");
        EXPECT_TRUE(panel->isOpen()) << "what the alert is about stays";
        input.key(0xff0d);
        EXPECT_TRUE(waitUntil([&] { return answers == 1; }));
        panel.reset();
    }
}

TEST_F(DesktopManners, TheBubbleStaysBehindThePanel) {
    openPanel(QRect(room().bottomRight(), QSize(1, 1)));
    BubbleWindowController floating(time, time, nullptr, compositor, manager);
    floating.show(CameraCorner::topLeft, 200, CameraStyle::bubble);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(floating.panel()));
    for (const bool isOpenFirst : {true, false}) {
        if (!isOpenFirst) panel->open(QRect(room().bottomRight(), QSize(1, 1)));
        floating.update(CameraCorner::bottomRight, 200);
        const QRect frame = floating.panel()->geometry();
        ASSERT_TRUE(waitUntil([&] { return panel->geometry().intersects(frame); }));
        const QPoint ring(frame.center().x(), frame.y() + 1);
        ASSERT_TRUE(panel->geometry().contains(ring));
        const auto isRing = [&] { return qRed(screenPixel(ring)) > 150 && qBlue(screenPixel(ring)) < 60; };
        EXPECT_TRUE(waitUntil([&] { return !isRing(); })) << "whoever comes first";
        panel->close();
        EXPECT_TRUE(waitUntil(isRing)) << "in front of everything else";
    }
}

TEST_F(DesktopManners, TheBubbleIsRoundAndKeepsOffBars) {
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
        EXPECT_TRUE(waitUntil([&] { return qRed(screenPixel({frame.center().x(), frame.y() + 1})) > 150; }));
        EXPECT_EQ(screenPixel(frame.topLeft()), before) << "what is around the empty bubble is seen";
    }
    save("bubble");
}

}  // namespace
}  // namespace cobaltreel

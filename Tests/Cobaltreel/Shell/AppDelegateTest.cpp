#include "Cobaltreel/Shell/ShellHarness.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <fstream>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using State = RecordingCoordinator::State;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

const platform::StatusLabel idleLabel{"record.circle", ""};

TEST_F(ShellTest, TheFirstStartShowsThePanel) {
    launch();
    time->advance(0.2);
    EXPECT_EQ(shell->panel(), nullptr) << "the tray is still taking the item in";
    tray->frame = platform::Rect{600, 0, 24, 24};
    time->advance(0.2);
    ASSERT_NE(shell->panel(), nullptr);
    EXPECT_TRUE(shell->panel()->isOpen());
    EXPECT_NEAR(shell->panel()->geometry().center().x(), 612, 2);
    launch();
    time->advance(2);
    EXPECT_EQ(shell->panel(), nullptr) << "who knows the program finds it in the tray";
}

TEST_F(ShellTest, WithoutAFrameThePanelStandsWhereTheItemWasClicked) {
    defaults->setString("panelShown", "yes");
    launch();
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    for (const int x : {screen.left() + 20, screen.center().x(), screen.right() - 20}) {
        QCursor::setPos(x, screen.bottom() - 10);
        tray->actions.clicked();
        const QRect panel = shell->panel()->geometry();
        EXPECT_NEAR(panel.center().x(), std::clamp(x, 168, screen.right() - 168), 2) << x;
        EXPECT_GT(panel.bottom(), screen.bottom() - 30) << "above a bar at the lower edge";
        tray->actions.clicked();
        time->advance(1);
    }
}

TEST_F(ShellTest, TheItemsMenuDoesWhatThePanelDoes) {
    defaults->setString("panelShown", "yes");
    L::current = Language::en;
    launch();
    ASSERT_TRUE(eventually([&] { return shell->coordinator().selectedDisplayID().has_value(); }));
    const auto line = [&](std::size_t index) { return tray->actions.menu().at(index); };
    EXPECT_EQ(line(0).title, "Start Recording");
    line(0).chosen();
    ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
    countdown->complete();
    ASSERT_TRUE(stateBecomes(State::recording));
    EXPECT_EQ(line(0).title, "Stop Recording");
    line(0).chosen();
    ASSERT_TRUE(stateBecomes(State::idle));
    line(1).chosen();
    EXPECT_TRUE(shell->panel()->isOpen());
    line(2).chosen();
    EXPECT_EQ(windows->settingsOpened, 1);
    EXPECT_EQ(line(3).title, "Quit Cobaltreel");
    L::current = Language::he;
}

TEST_F(ShellTest, WithATrayNothingIsShownUntilTheItemIsClicked) {
    defaults->setString("panelShown", "yes");
    launch();
    EXPECT_THAT(tray->labels, Contains(idleLabel));
    EXPECT_EQ(shell->panel(), nullptr) << "windows are made when they are needed";
    EXPECT_FALSE(shell->onboardingWindow().isOpen());
    EXPECT_TRUE(alerts->alerts.empty());
    tray->frame = platform::Rect{600, 0, 24, 24};
    tray->actions.clicked();
    ASSERT_NE(shell->panel(), nullptr);
    EXPECT_TRUE(shell->panel()->isOpen());
    EXPECT_TRUE(shell->panel()->flags() & Qt::FramelessWindowHint);
    EXPECT_GE(shell->panel()->y(), 24) << "under the item";
    tray->actions.clicked();
    EXPECT_FALSE(shell->panel()->isOpen());
    shell->openPanel();
    EXPECT_TRUE(shell->panel()->isOpen()) << "a second start of the program";
}

TEST_F(ShellTest, WithoutATrayThePanelIsAnOrdinaryWindowUntilOneComes) {
    tray->hasTray = false;
    launch();
    ASSERT_NE(shell->panel(), nullptr);
    EXPECT_TRUE(shell->panel()->isOpen());
    EXPECT_FALSE(shell->panel()->flags() & Qt::FramelessWindowHint);
    record();
    time->advance(2.5);
    EXPECT_EQ(shell->panel()->title(), "Cobaltreel 00:02");
    const_cast<PanelWindow*>(shell->panel())->close();
    EXPECT_TRUE(eventually([&] { return bool(shell->panel()->windowStates() & Qt::WindowMinimized); }))
        << "a recording is not left without its window";
    shell->coordinator().toggle();
    ASSERT_TRUE(stateBecomes(State::idle));
    EXPECT_EQ(shell->panel()->title(), "Cobaltreel");
    tray->setTray(true);
    EXPECT_TRUE(shell->panel()->isOpen()) << "what the user works in stays";
    const_cast<PanelWindow*>(shell->panel())->close();
    tray->actions.clicked();
    EXPECT_TRUE(shell->panel()->flags() & Qt::FramelessWindowHint);
    tray->setTray(false);
    EXPECT_TRUE(shell->panel()->isOpen()) << "the tray has crashed: the program stays within reach";
    EXPECT_FALSE(shell->panel()->flags() & Qt::FramelessWindowHint);
}

TEST_F(ShellTest, QuittingDuringAnExportAsks) {
    launch();
    windows->exporting = true;
    alerts->holdsAnswers = true;
    shell->quit();
    shell->quit();
    ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
    EXPECT_EQ(alerts->alerts.size(), 1U);
    EXPECT_EQ(alerts->alerts[0].message, S::exportRunning());
    alerts->answer(2);
    EXPECT_TRUE(windows->patience.empty()) << "nothing ends";
    shell->quit();
    ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
    alerts->answer(0);
    EXPECT_TRUE(eventually([&] { return windows->patience.size() == 1; }));
    EXPECT_TRUE(std::isinf(windows->patience[0])) << "the export is finished first";
}

TEST_F(ShellTest, AnEndFromOutsideAsksNobodyAndGivesAnExportItsTime) {
    launch();
    windows->exporting = true;
    shell->end(60);
    EXPECT_TRUE(eventually([&] { return windows->patience == std::vector{60.0}; }));
    launch();
    QEvent lastWord(QEvent::Quit);  // of a session manager
    QCoreApplication::sendEvent(qApp, &lastWord);
    EXPECT_TRUE(eventually([&] { return windows->patience.back() == AppDelegate::patienceAtLogOut; }));
    EXPECT_TRUE(alerts->alerts.empty());
}

TEST_F(ShellTest, TheHotKeyRecordsAndTheLabelTellsTheTime) {
    launch();
    ASSERT_TRUE(eventually([&] { return shell->coordinator().selectedDisplayID().has_value(); }))
        << "the hot key must find something to record though the panel was never opened";
    EXPECT_TRUE(keys->pressChord());
    EXPECT_TRUE(eventually([&] { return countdown->isRunning(); }));
    EXPECT_EQ(tray->labels.back(), idleLabel) << "the countdown has no time";
    keys->pressChord();
    EXPECT_EQ(shell->coordinator().state(), State::countdown) << "does nothing in the countdown";
    countdown->complete();
    ASSERT_TRUE(stateBecomes(State::recording));
    EXPECT_EQ(tray->labels.back(), (platform::StatusLabel{"record.circle.fill", "00:00"}));
    Q_EMIT shell->coordinator().deviceMessage("The camera is gone.", {}, "cam");
    EXPECT_THAT(notifications->shown, ElementsAre("The camera is gone.")) << "nobody looks at the panel";
    EXPECT_TRUE(keys->pressChord(3));
    EXPECT_THAT(shell->onRequest({platform::InstanceRequest::Kind::mark, "here"}), HasSubstr("\"number\":2"));
    EXPECT_THAT(shell->onRequest({platform::InstanceRequest::Kind::status}),
                AllOf(HasSubstr("\"state\":\"recording\""), HasSubstr("\"markers\":2")));
    EXPECT_FALSE(tray->labels.back().isStill);
    tray->isDrawnByDesktop = true;
    time->advance(65.9);
    EXPECT_EQ(tray->labels.back().text, "01:05");
    EXPECT_TRUE(tray->labels.back().isStill) << "a clock in a bar that is recorded would tick in the movie";
    keys->pressChord();
    ASSERT_TRUE(stateBecomes(State::idle));
    EXPECT_EQ(tray->labels.back(), idleLabel);
    EXPECT_FALSE(keys->pressChord(3)) << "other programs have the key back";
    EXPECT_THAT(shell->onRequest({platform::InstanceRequest::Kind::mark}), HasSubstr("notRecording"));
    time->advance(0.3);
    keys->pressChord();
    EXPECT_EQ(shell->coordinator().state(), State::idle) << "a slip of the finger";
    EXPECT_EQ(windows->previews.size(), 1U);
}

TEST_F(ShellTest, ARecordingThatWasNeverExportedIsOffered) {
    L::current = Language::en;
    SessionMeta meta;
    meta.screenFirstPTS = 1;
    meta.recordingEndHostTime = 2;
    meta.captureWidthPx = meta.captureHeightPx = 100;
    const SessionFolder folder{Paths::sessionsRoot() / "20260101-100000"};
    std::filesystem::create_directories(folder.dir);
    folder.writeMeta(meta);
    std::ofstream(folder.screenMovie()) << "movie";
    for (const int button : {0, 1}) {
        alerts->holdsAnswers = true;
        defaults->arrays.clear();
        launch();
        ASSERT_EQ(alerts->alerts.size(), 1U);
        EXPECT_EQ(alerts->alerts[0].message, "Found a recording that wasn't exported");
        EXPECT_EQ(alerts->alerts[0].informativeText, "Open it and export?");
        EXPECT_THAT(alerts->alerts[0].buttons, ElementsAre("Open", "Cancel"));
        EXPECT_THAT(defaults->arrays["promptedOrphanSessions"], ElementsAre("20260101-100000"))
            << "noted before anything is shown";
        alerts->answer(button);
        EXPECT_EQ(windows->previews.size(), button == 0 ? 1U : 0U);
        EXPECT_TRUE(std::filesystem::exists(folder.screenMovie()));
        windows->previews.clear();
        alerts->alerts.clear();
        launch();
        EXPECT_TRUE(alerts->alerts.empty()) << "asked once";
    }
    L::current = Language::he;
}

TEST_F(ShellTest, MissingPermissionsOpenTheOnboardingAndAKeyThatIsTakenStopsNothing) {
    screenAccess->granted = false;
    keys->refusal = platform::PlatformError("Desktop", 10, "taken");
    launch();
    EXPECT_TRUE(shell->onboardingWindow().isOpen());
    EXPECT_FALSE(tray->labels.empty());
    EXPECT_EQ(shell->panel(), nullptr) << "one thing at a time";
}

}  // namespace
}  // namespace cobaltreel

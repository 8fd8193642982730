// The panel on a real X server, driven by its keyboard and pointer and read through its accessibility.
#include "Cobaltreel/UI/ApplicationWindow.hpp"
#include "Cobaltreel/UI/PopoverView/PanelHarness.hpp"

#include <QQuickItem>

namespace cobaltreel {
namespace {

constexpr xcb_keysym_t returnKey = 0xff0d, escape = 0xff1b, tab = 0xff09, space = ' ';
constexpr QRect tray(1000, 4, 22, 22);

class PanelDesktopTest : public PanelHarness {
  protected:
    PanelDesktopTest() {
        screenCapture->content.displays.pop_back();
        capture->fakeDevices.cameras[0].name = "HD Webcam C920";
        capture->fakeDevices.microphones[1].name = "Studio Microphone";
    }
    void open(PanelWindow::Look look = PanelWindow::Look::popover) {
        PanelHarness::open(tray, look);
        ASSERT_TRUE(
            eventually([&] { return !coordinator->displays().empty() && !coordinator->mics().empty(); }));
    }
    /// Texts that do not fit into their place.
    static QStringList shortened(const QQuickItem* item) {
        QStringList texts;
        if (!item->isVisible()) return texts;
        if (item->property("truncated").toBool()) texts.append(item->property("text").toString());
        for (const QQuickItem* child : item->childItems()) texts += shortened(child);
        return texts;
    }
};

TEST_F(PanelDesktopTest, EveryControlChangesTheCoordinatorByARealClick) {
    open();
    EXPECT_EQ(panel->geometry().topLeft(), QPoint(1010 - 160, 26 + 8));
    EXPECT_EQ(panel->width(), 320);
    EXPECT_TRUE(eventually([&] { return bubble->isShown; }));

    click("Window", QAccessible::RadioButton);
    EXPECT_TRUE(eventually([&] { return coordinator->mode() == CaptureMode::window; }));
    click("Window: Editor — Window 101", QAccessible::ButtonMenu);
    click("Editor — Window 102", QAccessible::MenuItem);
    EXPECT_TRUE(eventually([&] { return coordinator->selectedWindowID() == 102U; }));
    click("Full Screen", QAccessible::RadioButton);
    EXPECT_TRUE(eventually([&] { return coordinator->mode() == CaptureMode::display; }));

    click("Mirror", QAccessible::CheckBox);
    EXPECT_TRUE(eventually([&] { return !coordinator->mirrorCamera(); }));
    for (const auto& [name, corner] : {std::pair{"Top left", CameraCorner::topLeft},
                                       {"Top right", CameraCorner::topRight},
                                       {"Bottom right", CameraCorner::bottomRight},
                                       {"Bottom left", CameraCorner::bottomLeft}}) {
        click(name);
        EXPECT_TRUE(eventually([&] { return coordinator->cameraCorner() == corner; })) << name;
        EXPECT_EQ(bubble->corner, corner);
        EXPECT_TRUE(control(name)->state().checked);
    }
    const QRect slider = control("Bubble size", QAccessible::Slider)->rect();
    // Past its end but not out of the panel: where a press was is asked for after it, and this hand is quick.
    input.drag(slider.center(), {slider.right() + 8, slider.center().y()});
    EXPECT_TRUE(eventually([&] { return coordinator->bubbleSizeFraction() == 0.35; }));
    click("Cutout", QAccessible::RadioButton);
    EXPECT_TRUE(eventually([&] { return coordinator->cameraStyle() == CameraStyle::cutout; }));
    click("Microphone: Studio Microphone", QAccessible::ButtonMenu);
    click("Microphone", QAccessible::MenuItem);
    EXPECT_TRUE(eventually([&] { return coordinator->selectedMicID() == "mic"; }));
    click("System audio", QAccessible::CheckBox);
    EXPECT_TRUE(eventually([&] { return coordinator->systemAudioEnabled(); }));
    click("Auto-zoom", QAccessible::CheckBox);
    EXPECT_TRUE(eventually([&] { return coordinator->autoZoomEnabled(); }));

    const int height = panel->height();
    click("Camera", QAccessible::CheckBox);
    EXPECT_TRUE(eventually([&] { return !coordinator->cameraEnabled() && panel->height() < height - 100; }));
    EXPECT_EQ(control("Mirror"), nullptr);
    click("Camera", QAccessible::CheckBox);
    EXPECT_TRUE(eventually([&] { return panel->height() == height; })) << "as tall as its content";

    int quits = 0;
    QObject::connect(model.get(), &PopoverModel::quitRequested, [&] { ++quits; });
    click("Quit Cobaltreel");
    EXPECT_TRUE(eventually([&] { return quits == 1; }));
    click("Settings");
    EXPECT_TRUE(eventually([&] { return windows->settingsOpened == 1; }));
    EXPECT_TRUE(panel->isOpen());

    const QRect version = control("Cobaltreel v1.0")->rect();
    for (int i = 0; i < 3; ++i) input.click(version.center());
    // A press can be lost while the window manager moves the focus; a person taps once more.
    const auto isEggShown = [&] { return control(S::versionEgg()) != nullptr; };
    EXPECT_TRUE(platform::eventually(isEggShown, [&] {
        QTest::qWait(1000);
        if (!isEggShown()) input.click(version.center());
    }));
    EXPECT_TRUE(eventually([&] { return control("Cobaltreel v1.0") == nullptr; }));
    savePicture("panel-egg");
    time->advance(3.1);
    EXPECT_TRUE(eventually([&] { return control("Cobaltreel v1.0") != nullptr; }));

    click("Start Recording");
    ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
    EXPECT_FALSE(panel->isOpen()) << "it is not in the way of what is recorded";
    countdown->complete();
    ASSERT_TRUE(eventually([&] { return coordinator->state() == State::recording; }));
    time->advance(1);
    panel->toggle(tray);
    click("Camera", QAccessible::CheckBox);
    click("Camera style", QAccessible::PageTabList);
    click("Stop Recording");
    EXPECT_TRUE(eventually([&] { return coordinator->state() == State::idle; }));
    EXPECT_TRUE(coordinator->cameraEnabled()) << "a recording goes on as it began";
}

TEST_F(PanelDesktopTest, TheKeyboardReachesEveryControlAndReturnStarts) {
    open();
    QStringList reached;
    for (int i = 0; i < 40; ++i) {
        input.key(tab);
        const QQuickItem* before = panel->activeFocusItem();
        ASSERT_TRUE(eventually([&] { return panel->activeFocusItem() != before; }));
        QAccessibleInterface* focused = QAccessible::queryAccessibleInterface(panel->activeFocusItem());
        ASSERT_NE(focused, nullptr);
        const QString name = focused->text(QAccessible::Name);
        if (reached.contains(name)) break;
        reached.append(name);
        EXPECT_TRUE(panel->activeFocusItem()->property("showsFocus").toBool()) << name.toStdString();
    }
    for (const char* name :
         {"Start Recording", "What to record", "Camera", "Mirror", "Camera: HD Webcam C920", "Top left",
          "Top right", "Bottom left", "Bottom right", "Bubble size", "Camera style",
          "Microphone: Studio Microphone", "System audio", "Auto-zoom", "Quit Cobaltreel", "Settings"})
        EXPECT_TRUE(reached.contains(name)) << name;
    EXPECT_FALSE(reached.contains(QString())) << "a control without a name";

    // On a switch Return is the start button's, Space the switch's.
    while (QAccessible::queryAccessibleInterface(panel->activeFocusItem())->text(QAccessible::Name) !=
           "Auto-zoom") {
        const QQuickItem* before = panel->activeFocusItem();
        input.key(tab);
        ASSERT_TRUE(eventually([&] { return panel->activeFocusItem() != before; }));
    }
    input.key(space);
    EXPECT_TRUE(eventually([&] { return coordinator->autoZoomEnabled(); }));
    input.key(returnKey);
    EXPECT_TRUE(eventually([&] { return countdown->isRunning(); }));
}

TEST_F(PanelDesktopTest, ClosesOnEscapeAndWithTheFocusAndTheSetUpWithIt) {
    ApplicationWindow other(false);
    open();
    EXPECT_TRUE(eventually([&] { return bubble->isShown; }));
    click("Camera: HD Webcam C920", QAccessible::ButtonMenu);
    EXPECT_TRUE(eventually([&] { return control("HD Webcam C920", QAccessible::MenuItem) != nullptr; }));
    input.key(escape);
    EXPECT_TRUE(eventually([&] { return control("HD Webcam C920", QAccessible::MenuItem) == nullptr; }));
    EXPECT_TRUE(panel->isOpen()) << "the first one is the menu's";
    input.key(escape);
    EXPECT_TRUE(eventually([&] { return !panel->isOpen(); }));
    EXPECT_FALSE(bubble->isShown);

    panel->toggle(tray);
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    input.click({200, 400});
    EXPECT_TRUE(eventually([&] { return !panel->isOpen(); }));
    panel->toggle(tray);
    EXPECT_FALSE(panel->isOpen()) << "the click on the status item that closed it";
    time->advance(1);
    panel->toggle(tray);
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    EXPECT_TRUE(eventually([&] { return bubble->isShown; }));
    panel->toggle(tray);
    EXPECT_FALSE(panel->isOpen());

    // Without a tray it is a window that stays.
    open(PanelWindow::Look::titled);
    EXPECT_GT(panel->frameMargins().top(), 10);
    input.click({200, 400});
    EXPECT_TRUE(QTest::qWaitForWindowActive(&other));
    input.key(escape);
    QTest::qWait(50);
    EXPECT_TRUE(panel->isOpen());
    panel->close();
    EXPECT_FALSE(bubble->isShown);
}

TEST_F(PanelDesktopTest, NothingIsClippedInEitherLanguage) {
    auto& displays = screenCapture->content.displays;
    for (const Language language : allCases<Language>) {
        AppSettings::shared().setLanguage(language);
        SCOPED_TRACE(std::string(rawValue(language)));
        open();
        const auto expectWhole = [&](const char* name) {
            savePicture(name);
            EXPECT_EQ(shortened(panel->rootObject()).join(" | "), "") << name;
        };
        EXPECT_TRUE(eventually([&] { return control(S::camera() + ": HD Webcam C920") != nullptr; }));
        ASSERT_TRUE(eventually([&] { return devices().isRunning(); }));
        devices().deliverSound(1000, 0.03F);
        time->advance(0.06);
        expectWhole("panel");
        const bool rightToLeft = language == Language::he;
        EXPECT_EQ(control(S::mirror(), QAccessible::CheckBox)->rect().x() <
                      control(S::camera(), QAccessible::CheckBox)->rect().x(),
                  rightToLeft);
        EXPECT_LT(control(S::topLeft())->rect().x(), control(S::topRight())->rect().x())
            << "the corners stay where they are on the screen";

        const int height = panel->height();
        displays.push_back({});
        displays.back().displayID = 22;
        displays.back().frame = {1512, 0, 1920, 1080};
        choose();
        EXPECT_TRUE(eventually([&] { return panel->height() > height; })) << "a second display";
        expectWhole("panel-two-displays");
        coordinator->setMode(CaptureMode::window);
        expectWhole("panel-window");
        coordinator->setCameraStyle(CameraStyle::cutout);
        expectWhole("panel-cutout");
        coordinator->setCameraEnabled(false);
        EXPECT_TRUE(eventually([&] { return panel->height() < height; }));
        expectWhole("panel-without-camera");
        model->toggle();
        ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
        countdown->complete();
        EXPECT_TRUE(eventually([&] { return coordinator->state() == State::recording; }));
        panel->open(tray);
        EXPECT_TRUE(eventually([&] { return control(S::stopRecording()) != nullptr; }));
        Q_EMIT coordinator->deviceMessage(
            S::microphoneSilent().arg("A headset with a rather long name (USB)"), {}, "mic");
        expectWhole("panel-recording");
        coordinator->toggle();
        EXPECT_TRUE(eventually([&] { return coordinator->state() == State::idle; }));
        displays.pop_back();
        panel.reset();
        makeCoordinator();
        model = std::make_unique<PopoverModel>(*coordinator, time, time);
    }
}

TEST_F(PanelDesktopTest, AChangeOfLanguageRebuildsTheOpenPanel) {
    open();
    AppSettings::shared().setLanguage(Language::he);
    EXPECT_TRUE(eventually([&] { return control(S::startRecording()) != nullptr; }));
    EXPECT_EQ(control("Start Recording"), nullptr);
    EXPECT_GT(panel->height(), 300);
    input.key(returnKey);
    EXPECT_TRUE(eventually([&] { return countdown->isRunning(); })) << "the keyboard is the new content's";
}

TEST_F(PanelDesktopTest, ScrollsToTheControlThatTheKeyboardMovesTo) {
    open();
    panel->setMinimumSize({320, 200});
    panel->setMaximumSize({320, 200});
    ASSERT_TRUE(eventually([&] { return panel->height() == 200; }));
    const auto isInside = [&](const QQuickItem* item) {
        const QRectF box = item->mapRectToScene(QRectF(QPointF(), item->size()));
        return box.top() >= 0 && box.bottom() <= 200;
    };
    for (int i = 0; i < 18; ++i) {
        const QQuickItem* before = panel->activeFocusItem();
        input.key(tab);
        ASSERT_TRUE(eventually([&] { return panel->activeFocusItem() != before; }));
        EXPECT_TRUE(isInside(panel->activeFocusItem())) << i;
        if (i == 8) savePicture("panel-scrolled");
    }
}

TEST(PanelWindowTest, StandsBesideTheStatusItemAndInsideTheScreen) {
    const QRect room(0, 30, 1280, 650);  // a bar above, a dock below
    const QSize size(320, 500);
    const QRect screen(0, 0, 1280, 720), overBar(0, 0, 1280, 680);
    const struct {
        QRect statusItem;
        QPoint topLeft;
    } cases[]{
        {QRect(1000, 4, 22, 22), {850, 38}},   {QRect(1250, 4, 22, 22), {952, 38}},
        {QRect(2, 4, 22, 22), {8, 38}},        {QRect(1000, 690, 22, 22), {850, 172}},
        {QRect(640, 100, 20, 20), {489, 128}}, {PanelWindow::likelyItem(screen, room, false), {952, 38}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(PanelWindow::place(size, each.statusItem, room).topLeft(), each.topLeft);
    const QRect mirrored = PanelWindow::likelyItem(screen, room, true);
    EXPECT_EQ(PanelWindow::place(size, mirrored, room).topLeft(), QPoint(8, 38));
    EXPECT_EQ(PanelWindow::place({320, 900}, mirrored, room), QRect(8, 38, 320, 634));
    EXPECT_EQ(
        PanelWindow::place(size, PanelWindow::likelyItem(screen, overBar, false), overBar).bottomRight(),
        QPoint(1271, 671))
        << "above a bar at the lower edge";
}

}  // namespace
}  // namespace cobaltreel

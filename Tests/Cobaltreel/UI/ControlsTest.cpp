// The controls under pointer, touch, keyboard and assistive technology.
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Rig/QtEventually.hpp"

#include <QAccessible>
#include <QImage>
#include <QQuickWindow>
#include <stdexcept>

namespace cobaltreel {
namespace {

class ControlsTest : public LocalisedTest {};

QRgb pixel(QmlScene& scene, const char* name, QPointF position) {
    const QImage picture = scene.window().grabWindow();
    return picture.pixel(scene.item(name)->mapToScene(position).toPoint());
}

const QString switches = QStringLiteral(R"(
    Column {
        spacing: 20
        MacSwitch { id: a; objectName: "a"; isOn: false; onEdited: on => isOn = on; property int edits: 0; onIsOnChanged: ++edits }
        MacSwitch { objectName: "stubborn"; isOn: false }
        MacSwitch { objectName: "disabled"; isOn: false; enabled: false; onEdited: on => isOn = on }
        MacToggleRow { objectName: "row"; label: "A label"; isOn: true; stretch: true; width: 300; onEdited: on => isOn = on }
        MacToggleRow { objectName: "together"; label: "A label"; isOn: true; stretch: false }
    })");

TEST_F(ControlsTest, SwitchAnswersTapTouchAndSpaceAndHoldsNoStateOfItsOwn) {
    QmlScene scene(switches);
    EXPECT_EQ(scene.item("a")->size(), QSizeF(38, 22));
    scene.clickCentre("a");
    EXPECT_TRUE(scene.get("a", "isOn").toBool());
    scene.touchDrag("a", {10, 10}, {10, 10});
    EXPECT_FALSE(scene.get("a", "isOn").toBool());
    const int edits = scene.get("a", "edits").toInt();
    scene.doubleClick("a");
    EXPECT_FALSE(scene.get("a", "isOn").toBool());
    EXPECT_EQ(scene.get("a", "edits").toInt(), edits + 2);

    scene.item("a")->forceActiveFocus(Qt::TabFocusReason);
    scene.press(Qt::Key_Space);
    EXPECT_TRUE(scene.get("a", "isOn").toBool());

    scene.clickCentre("stubborn");
    EXPECT_FALSE(scene.get("stubborn", "isOn").toBool()) << "it shows what it is bound to, nothing else";
    scene.clickCentre("disabled");
    EXPECT_FALSE(scene.get("disabled", "isOn").toBool());
}

TEST_F(ControlsTest, TheKnobComesToTheTrailingEndAndTheTrackChangesColor) {
    for (const bool rightToLeft : {false, true}) {
        QmlScene scene(switches, rightToLeft);
        const QPointF left(11, 11), right(27, 11), track(19, 2);
        EXPECT_EQ(pixel(scene, "a", rightToLeft ? right : left), qRgb(255, 255, 255));
        EXPECT_EQ(pixel(scene, "a", track), qRgb(77, 77, 77));
        scene.clickCentre("a");
        ASSERT_TRUE(eventually([&] { return scene.get("a", "position").toDouble() == 1; }));
        EXPECT_EQ(pixel(scene, "a", rightToLeft ? left : right), qRgb(255, 255, 255));
        ASSERT_TRUE(eventually([&] { return pixel(scene, "a", track) == qRgb(51, 199, 89); }));
    }
}

TEST_F(ControlsTest, ToggleRowTakesTapsOnItsLabelAndPlacesItsSwitch) {
    for (const bool rightToLeft : {false, true}) {
        QmlScene scene(switches, rightToLeft);
        scene.click("row", {rightToLeft ? 290.0 : 10.0, 11});
        EXPECT_FALSE(scene.get("row", "isOn").toBool());
        scene.click("row", {rightToLeft ? 10.0 : 290.0, 11});
        EXPECT_TRUE(scene.get("row", "isOn").toBool());
        scene.click("row", {150, 11});
        EXPECT_TRUE(scene.get("row", "isOn").toBool()) << "the space between belongs to neither";
        EXPECT_LT(scene.item("together")->width(), 150);
    }
}

const QString sliders = QStringLiteral(R"(
    Column {
        spacing: 20
        MacSlider { objectName: "s"; width: 216; lowerBound: 0.15; upperBound: 0.35; value: 0.2; onEdited: v => value = v }
        MacSlider { objectName: "fixed"; width: 216; lowerBound: 3; upperBound: 3; value: 3; onEdited: v => value = v }
        Flickable {
            objectName: "flickable"; width: 216; height: 60; contentHeight: 400
            MacSlider { objectName: "inside"; y: 10; width: 216; lowerBound: 0; upperBound: 1; value: 0; onEdited: v => value = v }
        }
    })");

TEST_F(ControlsTest, AfterThePointerTheArrowsAreNotTheSliders) {
    QmlScene scene(QStringLiteral(R"(
        Item { objectName: "around"; width: 300; height: 100
            property int arrows: 0
            Keys.onRightPressed: ++arrows
            MacSlider { objectName: "s"; width: 216; lowerBound: 0; upperBound: 1; value: 0; onEdited: v => value = v } })"));
    scene.drag("s", {8, 8}, {108, 8});
    const double dragged = scene.get("s", "value").toDouble();
    scene.press(Qt::Key_Right);
    EXPECT_EQ(scene.get("s", "value").toDouble(), dragged) << "nothing shows that they would be";
    EXPECT_EQ(scene.get("around", "arrows").toInt(), 1);
}

TEST_F(ControlsTest, SliderFollowsPointerAndTouchFromTheFirstContact) {
    QmlScene scene(sliders);
    const auto value = [&] { return scene.get("s", "value").toDouble(); };
    scene.click("s", {108, 8});
    EXPECT_DOUBLE_EQ(value(), 0.25);
    scene.drag("s", {108, 8}, {-40, 8});
    EXPECT_EQ(value(), 0.15);
    scene.drag("s", {20, 8}, {300, 60});
    EXPECT_EQ(value(), 0.35);
    scene.touchDrag("s", {100, 8}, {58, 10});
    EXPECT_DOUBLE_EQ(value(), 0.20);
    scene.click("fixed", {108, 8});
    EXPECT_EQ(scene.get("fixed", "value").toDouble(), 3);

    // A slanting drag moves the slider, not the panel that scrolls under it.
    scene.touchDrag("inside", {20, 8}, {150, -40});
    EXPECT_DOUBLE_EQ(scene.get("inside", "value").toDouble(), 0.71);
    EXPECT_EQ(scene.get("flickable", "contentY").toDouble(), 0);
}

TEST_F(ControlsTest, SliderAnswersTheKeyboardInReadingDirection) {
    for (const bool rightToLeft : {false, true}) {
        QmlScene scene(sliders, rightToLeft);
        const auto value = [&] { return scene.get("s", "value").toDouble(); };
        scene.item("s")->forceActiveFocus(Qt::TabFocusReason);
        const Qt::Key forward = rightToLeft ? Qt::Key_Left : Qt::Key_Right;
        const Qt::Key backward = rightToLeft ? Qt::Key_Right : Qt::Key_Left;
        scene.press(forward);
        EXPECT_NEAR(value(), 0.21, 1e-12);
        scene.press(backward);
        scene.press(backward);
        EXPECT_NEAR(value(), 0.19, 1e-12);
        scene.press(Qt::Key_Up);
        EXPECT_NEAR(value(), 0.20, 1e-12);
        scene.press(Qt::Key_PageUp);
        EXPECT_NEAR(value(), 0.24, 1e-12);
        scene.press(Qt::Key_End);
        scene.press(forward);
        EXPECT_EQ(value(), 0.35);
        scene.press(Qt::Key_Home);
        scene.press(Qt::Key_Down);
        EXPECT_EQ(value(), 0.15);
    }
}

TEST_F(ControlsTest, SliderAndLevelFillFromTheLeadingEnd) {
    const QString body = QStringLiteral(R"(
        MacSlider { objectName: "s"; width: 200; lowerBound: 0; upperBound: 1; value: 0.25 }
        MacProgressBar { objectName: "p"; y: 50; width: 200; value: 0.25 }
        MacProgressBar { objectName: "over"; y: 80; width: 200; value: 1.4 }
        MacProgressBar { objectName: "under"; y: 110; width: 200; value: -0.2 })");
    const QRgb accent = qRgb(0, 122, 255), off = qRgb(77, 77, 77), on = qRgb(51, 199, 89),
               empty = qRgb(71, 71, 71);
    for (const bool rightToLeft : {false, true}) {
        QmlScene scene(body, rightToLeft);
        const double leading = rightToLeft ? 180 : 20, trailing = 200 - leading;
        EXPECT_EQ(pixel(scene, "s", {leading, 8}), accent);
        EXPECT_EQ(pixel(scene, "s", {trailing, 8}), off);
        EXPECT_EQ(pixel(scene, "p", {leading, 3}), on);
        EXPECT_EQ(pixel(scene, "p", {trailing, 3}), empty);
        EXPECT_EQ(pixel(scene, "over", {trailing, 3}), on);
        EXPECT_EQ(pixel(scene, "under", {leading, 3}), empty);
    }
}

const QString segments = QStringLiteral(R"(
    Column {
        spacing: 20
        MacSegmented { objectName: "m"; width: 171; selection: "b"; onEdited: v => selection = v
            options: [{value: "a", title: "One"}, {value: "b", title: "Two"}, {value: "c", title: "Three"}] }
    })");

TEST_F(ControlsTest, SegmentsAnswerTapsAnywhereAndTheKeyboard) {
    for (const bool rightToLeft : {false, true}) {
        QmlScene scene(segments, rightToLeft);
        const auto chosen = [&] { return scene.get("m", "selection").toString(); };
        scene.click("m", {5, 5});
        EXPECT_EQ(chosen(), rightToLeft ? "c" : "a");
        scene.click("m", {166, 20});
        EXPECT_EQ(chosen(), rightToLeft ? "a" : "c");
        scene.item("m")->forceActiveFocus(Qt::TabFocusReason);
        scene.press(Qt::Key_Home);
        EXPECT_EQ(chosen(), "a");
        scene.press(rightToLeft ? Qt::Key_Left : Qt::Key_Right);
        EXPECT_EQ(chosen(), "b");
        scene.press(Qt::Key_End);
        scene.press(rightToLeft ? Qt::Key_Left : Qt::Key_Right);
        EXPECT_EQ(chosen(), "c");
    }
}

TEST_F(ControlsTest, ButtonAnswersPointerSpaceAndReturn) {
    QmlScene scene(QStringLiteral(R"(
        MacButton { objectName: "b"; text: "Push"; property int pushes: 0; onClicked: ++pushes })"));
    scene.clickCentre("b");
    scene.press(Qt::Key_Return);
    EXPECT_EQ(scene.get("b", "pushes").toInt(), 1) << "after a click Return is the window's";
    scene.item("b")->setFocus(false);
    scene.item("b")->forceActiveFocus(Qt::TabFocusReason);
    scene.press(Qt::Key_Space);
    scene.press(Qt::Key_Return);
    EXPECT_EQ(scene.get("b", "pushes").toInt(), 3);
}

TEST_F(ControlsTest, LongTextsEndInAnEllipsisAndAreShownWholeInATooltip) {
    QmlScene scene(QStringLiteral(R"(
        ControlText { id: text; objectName: "long"; width: 80; label: "A name much too long for its place" }
        ControlText { objectName: "short"; y: 60; width: 200; label: "Short" })"));
    EXPECT_TRUE(scene.get("long", "truncated").toBool());
    EXPECT_FALSE(scene.get("short", "truncated").toBool());
    const auto tipIsShown = [&](const char* name) {
        for (const QObject* child : scene.item(name)->findChildren<QObject*>())
            if (child->inherits("QQuickToolTip")) return child->property("opened").toBool();
        return false;
    };
    EXPECT_FALSE(tipIsShown("long"));
    scene.item("long")->setProperty("revealed", true);
    scene.item("short")->setProperty("revealed", true);
    EXPECT_TRUE(eventually([&] { return tipIsShown("long"); }));
    EXPECT_FALSE(tipIsShown("short"));
}

TEST_F(ControlsTest, AssistiveTechnologyCanAct) {
    QAccessible::setActive(true);
    QmlScene scene(QStringLiteral(R"(
        Column {
            MacToggleRow { objectName: "row"; label: "Camera"; isOn: true; stretch: false; onEdited: on => isOn = on }
            MacSlider { objectName: "s"; lowerBound: 0; upperBound: 2; value: 1; onEdited: v => value = v }
            MacSegmented { objectName: "m"; width: 170; selection: 0; onEdited: v => selection = v
                options: [{value: 0, title: "One"}, {value: 1, title: "Two"}] }
            MacProgressBar { objectName: "p"; value: 0.5 }
        })"));
    /// The item itself, or its child of this role.
    const auto found = [&](const char* name, QAccessible::Role role, int index = 0) {
        QList<QQuickItem*> candidates = scene.item(name)->childItems();
        candidates.prepend(scene.item(name));
        for (QQuickItem* candidate : candidates) {
            auto* accessible = QAccessible::queryAccessibleInterface(candidate);
            if (accessible && accessible->role() == role && index-- == 0) return accessible;
        }
        throw std::runtime_error(std::string("nothing of this role in ") + name);
    };
    using Action = QAccessibleActionInterface;
    auto* const toggle = found("row", QAccessible::CheckBox);
    toggle->actionInterface()->doAction(Action::toggleAction());
    EXPECT_FALSE(scene.get("row", "isOn").toBool() || toggle->state().checked);
    found("s", QAccessible::Slider)->actionInterface()->doAction(Action::increaseAction());
    EXPECT_DOUBLE_EQ(scene.get("s", "value").toDouble(), 1.1);
    found("m", QAccessible::RadioButton, 1)->actionInterface()->doAction(Action::pressAction());
    EXPECT_EQ(scene.get("m", "selection").toInt(), 1);
    EXPECT_EQ(found("p", QAccessible::ProgressBar)->text(QAccessible::Description), "50%");
    QAccessible::setActive(false);
}

}  // namespace
}  // namespace cobaltreel

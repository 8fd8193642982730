#include "Cobaltreel/UI/QmlScene.hpp"
#include "Rig/QtEventually.hpp"

#include <QTest>

namespace cobaltreel {
namespace {

class DropdownTest : public LocalisedTest {
  protected:
    static constexpr const char* body = R"(
        MacDropdown { objectName: "d"; x: 20; y: 20; width: 200; text: "Device"; selection: "b"
            property string last: ""
            onChosen: value => last = value
            content: [{value: "a", title: "One"}, {value: "b", title: "Two"}, {value: "c", title: "Three"}] }
        MacDropdown { objectName: "empty"; x: 20; y: 200; width: 200; text: "Nothing"; content: [] }
        MacDropdown { objectName: "many"; x: 240; y: 250; width: 150; text: "Many"
            property int last: -1
            onChosen: value => last = value
            content: Array.from({length: 60}, (_, i) => ({value: i, title: "Device " + i})) })";

    bool isOpen(QmlScene& scene, const char* name = "d") { return scene.get(name, "isOpen").toBool(); }
    bool opens(QmlScene& scene, const char* name = "d") {
        return eventually([&] { return isOpen(scene, name); });
    }
    QString chosen(QmlScene& scene) { return scene.get("d", "last").toString(); }
};

TEST_F(DropdownTest, APressOnItsLabelOrElsewhereClosesIt) {
    QmlScene scene(QString::fromLatin1(body));
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    scene.clickCentre("d");
    EXPECT_TRUE(eventually([&] { return !isOpen(scene); }));
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    scene.clickCentre("empty");
    EXPECT_TRUE(eventually([&] { return !isOpen(scene); }));
    scene.clickCentre("empty");
    EXPECT_FALSE(isOpen(scene, "empty")) << "there is nothing to choose from";
    EXPECT_EQ(chosen(scene), "");
}

TEST_F(DropdownTest, NoPressOnOrBesideAnOpenMenuReachesWhatIsBelow) {
    QmlScene scene(QStringLiteral(R"(
        Column { id: below; objectName: "below"; width: 200
            property int edits: 0
            MacDropdown { objectName: "d"; width: 200; text: "A device whose name is longer than there is room for"
                property string last: ""
                onChosen: value => last = value
                content: Array.from({length: 7}, (_, i) => ({value: "" + i, title: "Device " + i})) }
            MacToggleRow { width: 200; label: "Row"; isOn: true; stretch: true; onEdited: ++below.edits }
            MacSegmented { width: 200; selection: 1; options: [{value: 1, title: "One"}, {value: 2, title: "Two"}]
                onEdited: ++below.edits }
            MacDropdown { objectName: "next"; width: 200; text: "Next"; content: [{value: 1, title: "One"}]
                onChosen: ++below.edits }
            MacButton { width: 200; text: "Button"; onClicked: ++below.edits }
            MacSlider { width: 200; value: 0; lowerBound: 0; upperBound: 1; onEdited: ++below.edits }
            MacToggleRow { objectName: "last"; width: 200; label: "Row"; isOn: true; stretch: true
                onEdited: ++below.edits } })"));
    const double below = scene.get("d", "height").toDouble() + 4 + 4;
    const auto isUntouched = [&] {
        QTest::qWait(30);
        return scene.get("below", "edits").toInt() == 0 && !isOpen(scene, "next");
    };
    for (int entry = 0; entry < 7; ++entry)
        for (const double x : {20.0, 100.0, 180.0}) {
            scene.clickCentre("d");
            ASSERT_TRUE(opens(scene));
            scene.click("d", {x, below + 25 * entry + 12});
            EXPECT_EQ(chosen(scene), QString::number(entry));
            EXPECT_TRUE(isUntouched()) << "entry " << entry << " at " << x;
            ASSERT_TRUE(eventually([&] { return !isOpen(scene); }));
        }
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    for (const QObject* tip : scene.window().findChildren<QObject*>())
        EXPECT_FALSE(tip->inherits("QQuickToolTip") && tip->property("visible").toBool())
            << "no tooltip covers the first entry";
    scene.click("d", {300, 250});
    EXPECT_TRUE(eventually([&] { return !isOpen(scene); }));
    EXPECT_TRUE(isUntouched());
}

TEST_F(DropdownTest, KeyboardOpensMovesChoosesAndLeaves) {
    QmlScene scene(QString::fromLatin1(body));
    scene.item("d")->forceActiveFocus(Qt::TabFocusReason);
    for (const Qt::Key opener : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Down}) {
        scene.press(opener);
        ASSERT_TRUE(opens(scene)) << opener;
        scene.press(Qt::Key_Escape);
        ASSERT_TRUE(eventually([&] { return !isOpen(scene); }));
        EXPECT_EQ(chosen(scene), "");
        EXPECT_TRUE(scene.hasFocus("d")) << "the keyboard comes back to the control";
    }
    struct Step {
        Qt::Key key;
        const char* expected;
    };
    for (const Step& step :
         {Step{Qt::Key_Down, "c"}, {Qt::Key_Up, "a"}, {Qt::Key_End, "c"}, {Qt::Key_Home, "a"}}) {
        scene.press(Qt::Key_Return);
        ASSERT_TRUE(opens(scene));
        scene.press(step.key);
        scene.press(Qt::Key_Return);
        EXPECT_EQ(chosen(scene), step.expected);
        ASSERT_TRUE(eventually([&] { return !isOpen(scene); }));
    }
}

TEST_F(DropdownTest, AMenuLongerThanTheWindowScrollsInsideIt) {
    QmlScene scene(QString::fromLatin1(body));
    scene.item("many")->forceActiveFocus(Qt::TabFocusReason);
    scene.press(Qt::Key_Return);
    ASSERT_TRUE(opens(scene, "many"));
    const QObject *popup = nullptr, *list = nullptr;
    for (const QObject* child : scene.item("many")->findChildren<QObject*>()) {
        if (child->inherits("QQuickPopup")) popup = child;
        if (child->inherits("QQuickListView")) list = child;
    }
    ASSERT_TRUE(popup && list);
    EXPECT_LE(popup->property("height").toDouble(), 300 - 2 * 6);
    scene.press(Qt::Key_End);
    EXPECT_TRUE(list->property("atYEnd").toBool()) << "what the keyboard has come to is seen";
    scene.press(Qt::Key_Return);
    EXPECT_EQ(scene.get("many", "last").toInt(), 59);
}

}  // namespace
}  // namespace cobaltreel

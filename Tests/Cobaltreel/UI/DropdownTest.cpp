#include "Cobaltreel/UI/Scene.hpp"
#include "Cobaltreel/UI/WaitUntil.hpp"

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

    bool isOpen(Scene& scene, const char* name = "d") { return scene.get(name, "isOpen").toBool(); }
    bool opens(Scene& scene, const char* name = "d") {
        return waitUntil([&] { return isOpen(scene, name); });
    }
    QString chosen(Scene& scene) { return scene.get("d", "last").toString(); }
};

TEST_F(DropdownTest, APressOpensItAndATapOnAnItemChoosesIt) {
    Scene scene(QString::fromLatin1(body));
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    scene.click("d", {100, 27 + 4 + 4 + 10});  // the first item, below the label and the menu's padding
    EXPECT_EQ(chosen(scene), "a");
    EXPECT_TRUE(waitUntil([&] { return !isOpen(scene); }));
}

TEST_F(DropdownTest, APressOnItsLabelOrElsewhereClosesIt) {
    Scene scene(QString::fromLatin1(body));
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    scene.clickCentre("d");
    EXPECT_TRUE(waitUntil([&] { return !isOpen(scene); }));
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    scene.clickCentre("empty");
    EXPECT_TRUE(waitUntil([&] { return !isOpen(scene); }));
    EXPECT_EQ(chosen(scene), "");
}

TEST_F(DropdownTest, KeyboardOpensMovesChoosesAndLeaves) {
    Scene scene(QString::fromLatin1(body));
    scene.item("d")->forceActiveFocus(Qt::TabFocusReason);
    for (const Qt::Key opener : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Down}) {
        scene.press(opener);
        ASSERT_TRUE(opens(scene)) << opener;
        scene.press(Qt::Key_Escape);
        ASSERT_TRUE(waitUntil([&] { return !isOpen(scene); }));
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
        ASSERT_TRUE(waitUntil([&] { return !isOpen(scene); }));
    }
}

TEST_F(DropdownTest, WithoutItemsItStaysClosed) {
    Scene scene(QString::fromLatin1(body));
    scene.clickCentre("empty");
    scene.clickCentre("d");
    ASSERT_TRUE(opens(scene));
    EXPECT_FALSE(isOpen(scene, "empty"));
}

TEST_F(DropdownTest, AMenuLongerThanTheWindowScrollsInsideIt) {
    Scene scene(QString::fromLatin1(body));
    scene.item("many")->forceActiveFocus(Qt::TabFocusReason);
    scene.press(Qt::Key_Return);
    ASSERT_TRUE(opens(scene, "many"));
    const QObject* popup = nullptr;
    for (const QObject* child : scene.item("many")->findChildren<QObject*>())
        if (child->inherits("QQuickPopup")) popup = child;
    ASSERT_TRUE(popup);
    EXPECT_LE(popup->property("height").toDouble(), 300 - 2 * 6);
    scene.press(Qt::Key_End);
    scene.press(Qt::Key_Return);
    EXPECT_EQ(scene.get("many", "last").toInt(), 59);
}

}  // namespace
}  // namespace cobaltreel

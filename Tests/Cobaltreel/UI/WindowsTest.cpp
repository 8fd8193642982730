#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"
#include "Rig/QtEventually.hpp"

#include <QPointer>
#include <QSignalSpy>
#include <QTest>

namespace cobaltreel {
namespace {

class WindowsTest : public LocalisedTest {
  protected:
    static QQuickItem* content(const AppWindow& window) {
        return window.rootObject()->property("contentItem").value<QQuickItem*>();
    }
    /// The first item from `parent` down that shows this text.
    static QQuickItem* showing(QQuickItem* parent, const QString& text) {
        if (parent->property("label").toString() == text && parent->isVisible()) return parent;
        for (QQuickItem* child : parent->childItems())
            if (QQuickItem* found = showing(child, text)) return found;
        return nullptr;
    }
    static void click(AppWindow& window, QQuickItem* item) {
        QTest::mouseClick(&window, Qt::LeftButton, Qt::NoModifier,
                          item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint());
    }
};

TEST_F(WindowsTest, ChoosingALanguageRebuildsEveryOpenWindowAtOnce) {
    SettingsWindow first, second;
    first.open();
    second.open();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(first.window()));
    QQuickItem* english = showing(content(*first.window()), "Settings");
    ASSERT_TRUE(english);
    EXPECT_LT(english->mapToScene({0, 0}).x(), 20);
    const QPointer<QQuickItem> before = content(*second.window());

    QQuickItem* hebrew = showing(content(*first.window()), QStringLiteral(u"עברית"));
    ASSERT_TRUE(hebrew);
    click(*first.window(), hebrew);
    for (const SettingsWindow* settings : {&first, &second}) {
        QQuickItem* heading = showing(content(*settings->window()), QStringLiteral(u"הגדרות"));
        ASSERT_TRUE(heading);
        EXPECT_TRUE(eventually([&] { return heading->mapToScene({heading->width(), 0}).x() > 300; }));
        EXPECT_EQ(showing(content(*settings->window()), "Settings"), nullptr);
    }
    EXPECT_TRUE(eventually([&] { return before.isNull(); })) << "the old view is gone";
    EXPECT_EQ(stored().string("language"), "he");

    // And back.
    click(*first.window(), showing(content(*first.window()), "English"));
    EXPECT_TRUE(showing(content(*first.window()), "Settings"));
}

TEST_F(WindowsTest, ChoosingTheLanguageSpokenChangesNothing) {
    SettingsWindow settings;
    settings.open();
    const QQuickItem* before = content(*settings.window());
    const QSignalSpy changes(&AppSettings::shared(), &AppSettings::languageChanged);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(settings.window()));
    click(*settings.window(), showing(content(*settings.window()), "English"));
    AppWindows::settings().setLanguage(QStringLiteral("fr"));
    EXPECT_EQ(content(*settings.window()), before);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(WindowsTest, SettingsOpenOnceAndAgainAfterClosing) {
    SettingsWindow settings;
    settings.open();
    const AppWindow* first = settings.window();
    settings.open();
    EXPECT_EQ(settings.window(), first);
    EXPECT_EQ(first->size(), QSize(320, 140));
    settings.window()->close();
    EXPECT_FALSE(settings.isOpen());
    settings.open();
    EXPECT_TRUE(settings.isOpen());
}

}  // namespace
}  // namespace cobaltreel

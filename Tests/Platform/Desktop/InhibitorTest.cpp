#include "Platform/Desktop/PrivateBus.hpp"
#include "Platform/Desktop/Qt/BusInhibitor.hpp"
#include "Platform/Desktop/Qt/QtNotifications.hpp"
#include "Rig/QtEventually.hpp"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <gtest/gtest.h>

namespace platform {

/// Counts who holds something back, and forgets those whose connection ends.
class Holders : public QObject, protected QDBusContext {
    Q_OBJECT

  public:
    QStringList callers;
    uint last = 0;
    int givenBack = 0;

    uint hold() {
        callers += message().service();
        auto* watcher = new QDBusServiceWatcher(message().service(), connection(),
                                                QDBusServiceWatcher::WatchForUnregistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
                [this](const QString& name) { callers.removeAll(name); });
        return ++last;
    }
    void giveBack() {
        ++givenBack;
        callers.removeOne(message().service());
    }
};

class NotificationServer : public Holders {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

  public:
    QStringList capabilities{QStringLiteral("body")};
    QVariantMap hints;  // of the last message
    int shown = 0;

  public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Inhibit(const QString&, const QString&, const QVariantMap&) { return hold(); }
    void UnInhibit(uint) { giveBack(); }
    uint Notify(const QString&, uint, const QString&, const QString&, const QString&, const QStringList&,
                const QVariantMap& given, int) {
        hints = given;
        return static_cast<uint>(++shown);
    }
};

class ScreenSaver : public Holders {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

  public Q_SLOTS:
    uint Inhibit(const QString&, const QString&) { return hold(); }
    void UnInhibit(uint) { giveBack(); }
};

namespace {

using cobaltreel::eventually;

/// A desktop on the bus.
class InhibitorTest : public testing::Test {
  protected:
    void SetUp() override {
        desktop_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("desktop"));
        const auto all = QDBusConnection::ExportAllSlots;
        ASSERT_TRUE(desktop_.registerObject("/org/freedesktop/Notifications", &notifications, all));
        ASSERT_TRUE(desktop_.registerObject("/ScreenSaver", &screenSaver, all)) << "only the older place";
        ASSERT_TRUE(desktop_.registerService("org.freedesktop.Notifications"));
        ASSERT_TRUE(desktop_.registerService("org.freedesktop.ScreenSaver"));
    }
    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("desktop")); }

    QDBusConnection desktop_{QString()};
    NotificationServer notifications;
    ScreenSaver screenSaver;
    BusInhibitor inhibitor{"com.pellanor.cobaltreel"};
};

TEST_F(InhibitorTest, HoldsBackWhatTheDesktopOffersAndGivesItBack) {
    auto inhibition = inhibitor.inhibit("a recording");
    EXPECT_TRUE(eventually([&] { return screenSaver.callers.size() == 1; }));
    inhibition.reset();
    EXPECT_TRUE(eventually([&] { return screenSaver.callers.isEmpty(); }));
    EXPECT_EQ(notifications.last, 0U) << "a server that does not say that it can is not asked";

    notifications.capabilities += QStringLiteral("inhibitions");
    inhibition = inhibitor.inhibit("a recording");
    EXPECT_TRUE(eventually([&] { return notifications.callers.size() == 1; }));
    inhibition.reset();
    EXPECT_TRUE(eventually([&] { return notifications.callers.isEmpty() && screenSaver.callers.isEmpty(); }));

    // Over before we have the desktop's answer the end of the connection gives it back, later the call does.
    EXPECT_TRUE(eventually([&] {
        inhibition = inhibitor.inhibit("a recording");
        eventually([&] { return notifications.callers.size() == 1 && screenSaver.callers.size() == 1; });
        for (int turn = 0; turn < 10; ++turn) QCoreApplication::processEvents();
        inhibition.reset();
        eventually([&] { return notifications.callers.isEmpty() && screenSaver.callers.isEmpty(); });
        return notifications.givenBack > 0 && screenSaver.givenBack > 0;
    }));
}

TEST_F(InhibitorTest, OurOwnMessageIsCriticalWhereOthersCanBeHeldBack) {
    QtNotifications ours;
    ours.show("Cobaltreel", "The camera is gone");
    EXPECT_TRUE(eventually([&] { return notifications.shown == 1; }));
    EXPECT_FALSE(notifications.hints.contains("urgency"));
    notifications.capabilities += QStringLiteral("inhibitions");
    ours.show("Cobaltreel", "The camera is back");
    EXPECT_TRUE(eventually([&] { return notifications.shown == 2; }));
    EXPECT_EQ(notifications.hints.value("urgency").toInt(), 2);
}

}  // namespace
}  // namespace platform

int main(int argc, char** argv) { return platform::test::runTestsOnPrivateBus(argc, argv); }

#include "InhibitorTest.moc"

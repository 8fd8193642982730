#include "Platform/Desktop/Qt/NotifierTray.hpp"

#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QString>
#include <utility>

namespace platform {
namespace {

const QString trayService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString objectPath = QStringLiteral("/StatusNotifierWatcher");
constexpr int trayPatience = 1000;  // milliseconds

QDBusMessage trayQuestion() {
    auto message = QDBusMessage::createMethodCall(
        trayService, objectPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << trayService << QStringLiteral("IsStatusNotifierHostRegistered");
    message.setAutoStartService(false);
    return message;
}

}  // namespace

NotifierTray::NotifierTray(std::function<void()> changed) : changed_(std::move(changed)) {
    if (!hasSessionBus()) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    auto* watcher = new QDBusServiceWatcher(trayService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &NotifierTray::query);
    for (const auto* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        bus.connect(trayService, objectPath, trayService, QLatin1String(signal), this, SLOT(query()));
    // The caller needs the answer before it shows anything.
    const QDBusReply<QDBusVariant> answer = bus.call(trayQuestion(), QDBus::Block, trayPatience);
    there_ = answer.isValid() && answer.value().variant().toBool();
}

void NotifierTray::query() {
    auto* call = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(trayQuestion(), trayPatience), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        const QDBusPendingReply<QDBusVariant> answer = *call;
        call->deleteLater();
        set(answer.isValid() && answer.value().variant().toBool());
    });
}

void NotifierTray::set(bool there) {
    if (std::exchange(there_, there) != there) changed_();
}

}  // namespace platform

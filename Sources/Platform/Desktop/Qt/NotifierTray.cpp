#include "Platform/Desktop/Qt/NotifierTray.hpp"

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

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString objectPath = QStringLiteral("/StatusNotifierWatcher");
constexpr int patience = 1000;  // milliseconds

QDBusMessage question() {
    auto message = QDBusMessage::createMethodCall(
        service, objectPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << service << QStringLiteral("IsStatusNotifierHostRegistered");
    message.setAutoStartService(false);
    return message;
}

}  // namespace

NotifierTray::NotifierTray(std::function<void()> changed) : changed_(std::move(changed)) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    auto* watcher = new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &NotifierTray::ask);
    for (const auto* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        bus.connect(service, objectPath, service, QLatin1String(signal), this, SLOT(ask()));
    // Whoever starts needs to know before it shows anything.
    const QDBusReply<QDBusVariant> answer = bus.call(question(), QDBus::Block, patience);
    there_ = answer.isValid() && answer.value().variant().toBool();
}

void NotifierTray::ask() {
    auto* call =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question(), patience), this);
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

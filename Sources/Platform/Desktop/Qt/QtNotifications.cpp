#include "Platform/Desktop/Qt/QtNotifications.hpp"

#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace platform {

void QtNotifications::show(const std::string& title, const std::string& text) {
    if (!hasSessionBus()) return;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    auto request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    constexpr int asTheDesktopLikes = -1;
    // The body may be markup.
    request << QString::fromStdString(title) << last_ << QString() << QString::fromStdString(title)
            << QString::fromStdString(text).toHtmlEscaped() << QStringList() << QVariantMap()
            << asTheDesktopLikes;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(request), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<quint32> answer = *watcher;
        if (answer.isValid()) last_ = answer.value();
        watcher->deleteLater();
    });
}

}  // namespace platform

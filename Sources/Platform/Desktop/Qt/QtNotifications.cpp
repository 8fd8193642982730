#include "Platform/Desktop/Qt/QtNotifications.hpp"

#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace platform {

namespace {

QDBusMessage callOf(const char* method) {
    return QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QLatin1String(method));
}

}  // namespace

void QtNotifications::show(const std::string& title, const std::string& text) {
    if (!hasSessionBus()) return;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(callOf("GetCapabilities")), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, title, text] {
        const QDBusPendingReply<QStringList> capabilities = *watcher;
        const bool mayBeHeldBack =
            capabilities.isValid() && capabilities.value().contains(QStringLiteral("inhibitions"));
        notify(QString::fromStdString(title), QString::fromStdString(text), mayBeHeldBack);
        watcher->deleteLater();
    });
}

void QtNotifications::notify(const QString& title, const QString& text, bool isCritical) {
    constexpr int asTheDesktopLikes = -1;
    constexpr uchar critical = 2;
    QVariantMap hints;
    if (isCritical) hints[QStringLiteral("urgency")] = QVariant::fromValue(critical);
    auto request = callOf("Notify");
    // The body may be markup.
    request << title << last_ << QString() << title << text.toHtmlEscaped() << QStringList() << hints
            << asTheDesktopLikes;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(request), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<quint32> answer = *watcher;
        if (answer.isValid()) last_ = answer.value();
        watcher->deleteLater();
    });
}

}  // namespace platform

#include "Platform/Desktop/Portal/PortalBus.hpp"

#include "Platform/Desktop/Portal/PortalRequest.hpp"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <atomic>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace platform {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString place = QStringLiteral("/org/freedesktop/portal/desktop");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");

}  // namespace

PortalBus::PortalBus()
    : connectionName_(QStringLiteral("cobaltreel.portal.%1").arg(reinterpret_cast<quintptr>(this))),
      connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_)) {
    auto* watcher =
        new QDBusServiceWatcher(service, connection_, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        for (auto* pending : findChildren<QObject*>(Qt::FindDirectChildrenOnly))
            if (auto* each = qobject_cast<PortalRequest*>(pending))
                each->answer({PortalAnswer::Outcome::refused, {}, "The desktop portal has ended."});
        Q_EMIT ended();
    });
}

PortalBus::~PortalBus() { QDBusConnection::disconnectFromBus(connectionName_); }

QString PortalBus::newToken() {
    static std::atomic<int> last{0};
    return QStringLiteral("cobaltreel%1_%2").arg(getpid()).arg(++last);
}

std::optional<QVariantMap> PortalBus::properties(const QString& interface, int limitMilliseconds) const {
    auto message = QDBusMessage::createMethodCall(
        service, place, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    message << interface;
    const QDBusReply<QVariantMap> reply = connection_.call(message, QDBus::Block, limitMilliseconds);
    if (!reply.isValid() || !reply.value().contains(QStringLiteral("version"))) return std::nullopt;
    return reply.value();
}

void PortalBus::request(const QString& interface, const QString& method, const QVariantList& arguments,
                        QVariantMap options, Answered answered) {
    const QString token = newToken();
    options[QStringLiteral("handle_token")] = token;
    auto* pending = new PortalRequest(this, std::move(answered));
    // Listening begins before the call: the answer may be quicker than the call's return.
    QString sender = connection_.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    connection_.connect(QString(), place + QStringLiteral("/request/") + sender + QLatin1Char('/') + token,
                        requestInterface, QStringLiteral("Response"), pending,
                        SLOT(Response(uint, QVariantMap)));
    auto message = QDBusMessage::createMethodCall(service, place, interface, method);
    message.setArguments(arguments);
    message << options;
    auto* watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message), pending);
    connect(watcher, &QDBusPendingCallWatcher::finished, pending, [pending, watcher] {
        const QDBusPendingReply<QDBusObjectPath> reply(*watcher);
        if (reply.isError())
            pending->answer({PortalAnswer::Outcome::refused, {}, reply.error().message().toStdString()});
    });
}

void PortalBus::openRemote(const QString& session, std::function<void(UniqueFd)> opened) {
    auto message =
        QDBusMessage::createMethodCall(service, place, QStringLiteral("org.freedesktop.portal.ScreenCast"),
                                       QStringLiteral("OpenPipeWireRemote"));
    message << QVariant::fromValue(QDBusObjectPath(session)) << QVariantMap();
    auto* watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, opened = std::move(opened)] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply(*watcher);
        opened(UniqueFd(reply.isError() ? -1 : fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 3)));
    });
}

void PortalBus::watchSession(const QString& session, QObject* receiver, const char* slot) {
    connection_.connect(QString(), session, sessionInterface, QStringLiteral("Closed"), receiver, slot);
}

void PortalBus::closeSession(const QString& session) {
    connection_.asyncCall(
        QDBusMessage::createMethodCall(service, session, sessionInterface, QStringLiteral("Close")));
}

}  // namespace platform

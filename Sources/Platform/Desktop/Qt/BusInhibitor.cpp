#include "Platform/Desktop/Qt/BusInhibitor.hpp"

#include "Platform/Desktop/Qt/SessionBus.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <atomic>
#include <functional>
#include <utility>

namespace platform {

namespace {

constexpr int offerMilliseconds = 2000;

struct Service {
    const char* name;
    const char* path;
    const char* interface;

    QDBusMessage call(const char* method, const QVariantList& arguments = {}) const {
        auto message = QDBusMessage::createMethodCall(QLatin1String(name), QLatin1String(path),
                                                      QLatin1String(interface), QLatin1String(method));
        message.setArguments(arguments);
        return message;
    }
};

constexpr Service notifications{"org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                "org.freedesktop.Notifications"};
constexpr Service screenSaver{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                              "org.freedesktop.ScreenSaver"};
// Where the first ones had it.
constexpr Service oldScreenSaver{"org.freedesktop.ScreenSaver", "/ScreenSaver",
                                 "org.freedesktop.ScreenSaver"};
constexpr Service portal{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                         "org.freedesktop.portal.Inhibit"};

const QString inhibitions = QStringLiteral("inhibitions");

/// A connection that nobody else uses.
class Connection {
  public:
    Connection()
        : name_(QStringLiteral("cobaltreel.inhibit.%1").arg(++made_)),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name_)) {}
    ~Connection() { QDBusConnection::disconnectFromBus(name_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const QDBusConnection& bus() const { return bus_; }

  private:
    static inline std::atomic<int> made_{0};
    QString name_;
    QDBusConnection bus_;
};

class BusInhibition final : public QObject, public Inhibition {
  public:
    BusInhibition(QString application, QString reason)
        : application_(std::move(application)), reason_(std::move(reason)) {
        if (!connection_->bus().isConnected()) return;
        holdNotifications();
        holdScreen({screenSaver, oldScreenSaver});
    }
    ~BusInhibition() override {
        // By name first, for a service that does not look whether its callers are still there. Until it has
        // answered the connection stays.
        for (const QDBusMessage& message : endings_) {
            auto* watcher = new QDBusPendingCallWatcher(connection_->bus().asyncCall(message));
            connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                    [watcher, connection = connection_] { watcher->deleteLater(); });
        }
    }

  private:
    using Answered = std::function<void(const QDBusPendingCall&)>;

    /// A service that does not run has nothing to hold back: it is not started for this.
    void call(QDBusMessage message, Answered answered) {
        message.setAutoStartService(false);
        auto* watcher = new QDBusPendingCallWatcher(connection_->bus().asyncCall(message), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answered = std::move(answered)] {
            answered(*watcher);
            watcher->deleteLater();
        });
    }

    void holdNotifications() {
        call(notifications.call("GetCapabilities"), [this](const QDBusPendingCall& answer) {
            const QDBusPendingReply<QStringList> capabilities = answer;
            if (!capabilities.isValid() || !capabilities.value().contains(inhibitions)) return;
            call(notifications.call("Inhibit", {application_, reason_, QVariantMap()}),
                 [this](const QDBusPendingCall& held) {
                     const QDBusPendingReply<uint> cookie = held;
                     if (cookie.isValid()) endings_.append(notifications.call("UnInhibit", {cookie.value()}));
                 });
        });
    }

    void holdScreen(QList<Service> services) {
        if (services.isEmpty()) return holdScreenByPortal();
        const Service service = services.takeFirst();
        call(service.call("Inhibit", {application_, reason_}),
             [this, service, services](const QDBusPendingCall& held) {
                 const QDBusPendingReply<uint> cookie = held;
                 if (cookie.isValid())
                     endings_.append(service.call("UnInhibit", {cookie.value()}));
                 else
                     holdScreen(services);
             });
    }

    void holdScreenByPortal() {
        constexpr uint idle = 8;
        call(portal.call("Inhibit", {QString(), idle, QVariantMap{{QStringLiteral("reason"), reason_}}}),
             [this](const QDBusPendingCall& held) {
                 const QDBusPendingReply<QDBusObjectPath> request = held;
                 if (request.isValid())
                     endings_.append(QDBusMessage::createMethodCall(
                         QLatin1String(portal.name), request.value().path(),
                         QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close")));
             });
    }

    QString application_;
    QString reason_;
    std::shared_ptr<Connection> connection_ = std::make_shared<Connection>();
    QList<QDBusMessage> endings_;  // what gives each of them back
};

}  // namespace

std::unique_ptr<Inhibition> BusInhibitor::inhibit(const std::string& reason) {
    // Without a bus the library would start a daemon and wait for it.
    if (!hasSessionBus()) return nullptr;
    return std::make_unique<BusInhibition>(QString::fromStdString(application_),
                                           QString::fromStdString(reason));
}

Inhibitor::Offer BusInhibitor::offer() {
    Offer offer;
    if (!hasSessionBus()) return offer;
    const Connection connection;
    const QDeadlineTimer deadline(offerMilliseconds);  // for all of them together
    const auto query = [&connection, &deadline](QDBusMessage message) {
        message.setAutoStartService(false);
        return connection.bus().call(message, QDBus::Block, static_cast<int>(deadline.remainingTime()));
    };
    const QDBusReply<QStringList> capabilities = query(notifications.call("GetCapabilities"));
    if (capabilities.isValid() && capabilities.value().contains(inhibitions)) {
        const auto server = query(notifications.call("GetServerInformation")).arguments();
        offer.notifications =
            server.isEmpty() ? "the notification server" : server.first().toString().toStdString();
    }
    const auto answers = [&query](const Service& service, const char* interface, const char* method,
                                  const QVariantList& arguments) {
        const Service asked{service.name, service.path, interface};
        return query(asked.call(method, arguments)).type() == QDBusMessage::ReplyMessage;
    };
    // A portal is there whether or not somebody serves its interface.
    if (answers(screenSaver, "org.freedesktop.DBus.Peer", "Ping", {}))
        offer.screen = screenSaver.name;
    else if (answers(portal, "org.freedesktop.DBus.Properties", "Get",
                     {QLatin1String(portal.interface), QStringLiteral("version")}))
        offer.screen = portal.interface;
    return offer;
}

}  // namespace platform

#pragma once

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>

namespace platform {

/// What the desktop's portal answers to a request.
struct PortalAnswer {
    enum class Outcome { done, cancelled, refused };
    Outcome outcome = Outcome::refused;
    QVariantMap results;
    std::string reason;  ///< of a refusal, where one is known
};

/// The desktop portal (org.freedesktop.portal.Desktop) on a connection of its own to the session's bus. Main
/// thread, unless said otherwise; nothing here waits for the user.
class PortalBus final : public QObject {
    Q_OBJECT

  public:
    using Answered = std::function<void(const PortalAnswer&)>;

    PortalBus();
    ~PortalBus() override;

    /// The properties of one of the portal's interfaces; absent when there is no such interface, or no portal
    /// within the limit. Any thread; waits.
    std::optional<QVariantMap> properties(const QString& interface, int limitMilliseconds) const;
    /// Calls a method whose answer comes later, by an object of its own. `options` are its last argument.
    /// `answered` is called once, in a later turn, also when the portal ends; never after this object has
    /// gone.
    void request(const QString& interface, const QString& method, const QVariantList& arguments,
                 QVariantMap options, Answered answered);
    /// Calls OpenPipeWireRemote for a session of the screen cast; an empty descriptor when it is refused.
    void openRemote(const QString& session, std::function<void(UniqueFd)> opened);
    /// Tells when a session is ended by the desktop.
    void watchSession(const QString& session, QObject* receiver, const char* slot);
    void closeSession(const QString& session);

    QDBusConnection& connection() { return connection_; }
    /// A word that no other request of this process uses.
    static QString newToken();

  Q_SIGNALS:
    /// The portal's program has ended: its sessions have, too.
    void ended();

  private:
    QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace platform

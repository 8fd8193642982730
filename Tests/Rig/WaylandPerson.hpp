#pragma once

#include <QDBusConnection>
#include <QDBusMessage>

namespace rig {

/// Calls the person at the rig's Wayland desktop (portal-backend); empty where there is none.
inline QVariantList callPerson(const char* what, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.impl.portal.desktop.rig"), QStringLiteral("/rig"),
        QStringLiteral("com.pellanor.cobaltreel.Rig"), QString::fromLatin1(what));
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message).arguments();
}

}  // namespace rig

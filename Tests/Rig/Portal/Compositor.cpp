#include "Rig/Portal/Compositor.hpp"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <cstdio>
#include <utility>

namespace rig {
namespace {

const QString castService = QStringLiteral("org.gnome.Mutter.ScreenCast");
const QString castPath = QStringLiteral("/org/gnome/Mutter/ScreenCast");
const QString castSession = QStringLiteral("org.gnome.Mutter.ScreenCast.Session");
const QString castStream = QStringLiteral("org.gnome.Mutter.ScreenCast.Stream");
const QString remoteService = QStringLiteral("org.gnome.Mutter.RemoteDesktop");
const QString remotePath = QStringLiteral("/org/gnome/Mutter/RemoteDesktop");
const QString remoteSession = QStringLiteral("org.gnome.Mutter.RemoteDesktop.Session");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    auto reply = QDBusConnection::sessionBus().call(message);
    if (reply.type() == QDBusMessage::ErrorMessage)
        std::fprintf(stderr, "RigPortal: %s: %s\n", qPrintable(method), qPrintable(reply.errorMessage()));
    return reply;
}

QString pathIn(const QDBusMessage& reply) {
    return reply.arguments().isEmpty() ? QString()
                                       : reply.arguments().first().value<QDBusObjectPath>().path();
}

QVariant read(const QString& service, const QString& path, const QString& interface, const QString& name) {
    const QDBusReply<QDBusVariant> reply =
        call(service, path, properties, QStringLiteral("Get"), {interface, name});
    return reply.isValid() ? reply.value().variant() : QVariant();
}

}  // namespace

Compositor::Compositor() { startPointer(); }

QString Compositor::startCast(Source source, uint cursor, std::function<void(uint, QVariantMap)> started) {
    auto bus = QDBusConnection::sessionBus();
    const QString session =
        pathIn(call(castService, castPath, castService, QStringLiteral("CreateSession"), {QVariantMap()}));
    const QVariantMap how{{QStringLiteral("cursor-mode"), cursor}};
    const QString stream =
        session.isEmpty() ? QString()
        : source == Source::monitor
            ? pathIn(
                  call(castService, session, castSession, QStringLiteral("RecordMonitor"), {QString(), how}))
            : pathIn(call(castService, session, castSession, QStringLiteral("RecordWindow"), {how}));
    if (stream.isEmpty()) return {};
    sessionOfStream_[stream] = session;
    waiting_[stream] = std::move(started);
    bus.connect(castService, stream, castStream, QStringLiteral("PipeWireStreamAdded"), this,
                SLOT(streamAdded(uint)));
    bus.connect(castService, session, castSession, QStringLiteral("Closed"), this,
                SLOT(sessionClosed(QDBusMessage)));
    call(castService, session, castSession, QStringLiteral("Start"));
    return session;
}

void Compositor::stopCast(const QString& session) {
    std::erase_if(sessionOfStream_, [&](const auto& each) { return each.second == session; });
    call(castService, session, castSession, QStringLiteral("Stop"));
}

void Compositor::streamAdded(uint node) {
    // One stream starts at a time, so the one that waits is the one that was added.
    for (auto& [stream, started] : std::exchange(waiting_, {}))
        started(node,
                qdbus_cast<QVariantMap>(read(castService, stream, castStream, QStringLiteral("Parameters"))));
}

void Compositor::sessionClosed(const QDBusMessage& signal) {
    const QString session = signal.path();
    const auto ended =
        std::erase_if(sessionOfStream_, [&](const auto& each) { return each.second == session; });
    if (ended > 0 && castEnded) castEnded(session);
}

void Compositor::startPointer() {
    pointerSession_ = pathIn(call(remoteService, remotePath, remoteService, QStringLiteral("CreateSession")));
    const QString id =
        read(remoteService, pointerSession_, remoteSession, QStringLiteral("SessionId")).toString();
    const QString cast = pathIn(call(castService, castPath, castService, QStringLiteral("CreateSession"),
                                     {QVariantMap{{QStringLiteral("remote-desktop-session-id"), id}}}));
    // Positions are counted in a stream, which nobody receives.
    pointerStream_ = pathIn(
        call(castService, cast, castSession, QStringLiteral("RecordMonitor"), {QString(), QVariantMap()}));
    call(remoteService, pointerSession_, remoteSession, QStringLiteral("Start"));
}

void Compositor::movePointer(double x, double y) {
    call(remoteService, pointerSession_, remoteSession, QStringLiteral("NotifyPointerMotionAbsolute"),
         {pointerStream_, x, y});
}

void Compositor::pressButton(int code, bool down) {
    call(remoteService, pointerSession_, remoteSession, QStringLiteral("NotifyPointerButton"), {code, down});
}

}  // namespace rig

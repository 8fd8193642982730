#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QVariantMap>

namespace rig {

/// One stream of a screen cast, as portals hand it on: (ua{sv}).
struct CastStream {
    uint node = 0;
    QVariantMap properties;
};

/// What a portal's backend gives the frontend to remember a choice by: (suv).
struct RestoreData {
    QString vendor;
    uint version = 0;
    QDBusVariant data;
};

/// A shortcut with what describes it: (sa{sv}).
struct Shortcut {
    QString id;
    QVariantMap properties;
};

inline QDBusArgument& operator<<(QDBusArgument& out, const CastStream& stream) {
    out.beginStructure();
    out << stream.node << stream.properties;
    out.endStructure();
    return out;
}
inline const QDBusArgument& operator>>(const QDBusArgument& in, CastStream& stream) {
    in.beginStructure();
    in >> stream.node >> stream.properties;
    in.endStructure();
    return in;
}
inline QDBusArgument& operator<<(QDBusArgument& out, const RestoreData& data) {
    out.beginStructure();
    out << data.vendor << data.version << data.data;
    out.endStructure();
    return out;
}
inline const QDBusArgument& operator>>(const QDBusArgument& in, RestoreData& data) {
    in.beginStructure();
    in >> data.vendor >> data.version >> data.data;
    in.endStructure();
    return in;
}
inline QDBusArgument& operator<<(QDBusArgument& out, const Shortcut& shortcut) {
    out.beginStructure();
    out << shortcut.id << shortcut.properties;
    out.endStructure();
    return out;
}
inline const QDBusArgument& operator>>(const QDBusArgument& in, Shortcut& shortcut) {
    in.beginStructure();
    in >> shortcut.id >> shortcut.properties;
    in.endStructure();
    return in;
}

}  // namespace rig

Q_DECLARE_METATYPE(rig::CastStream)
Q_DECLARE_METATYPE(rig::RestoreData)
Q_DECLARE_METATYPE(rig::Shortcut)

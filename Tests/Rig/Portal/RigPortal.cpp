// RigPortal: the backend behind the desktop portal of the Wayland rig. Answers for the user, without a
// dialog, takes its streams from the compositor and moves the compositor's pointer. Prints "ready" once it
// can be asked.
//
//   RigPortal [--cursor-modes N] [--no-screencast] [--no-shortcuts]
//
// `--cursor-modes` is the mask of the modes on offer: 1 hidden, 2 embedded, 4 metadata.
// At /rig, interface com.pellanor.cobaltreel.Rig:
//   Answer(s)         how the next choices end: "accept", "cancel", "refuse" or "never"
//   Asked() -> i      how often a person would have seen the chooser
//   EndSharing()      the desktop's own "stop sharing"
//   Press(s)          the keys of a bound shortcut
//   Move(dd), Button(ib), Where() -> dd

#include "Rig/Portal/Compositor.hpp"
#include "Rig/Portal/PortalTypes.hpp"
#include "Rig/RigArguments.hpp"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <cstdio>
#include <map>
#include <memory>

namespace rig {

constexpr uint done = 0, cancelled = 1, refused = 2;
const QString restoreVendor = QStringLiteral("rig");

/// What the frontend may end: a session at its path. Closing it ends the stream behind it.
class PortalSession final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.Session")
    Q_PROPERTY(uint version READ version)

  public:
    PortalSession(Compositor& compositor, QString path) : compositor_(compositor), path_(std::move(path)) {
        QDBusConnection::sessionBus().registerObject(path_, this,
                                                     QDBusConnection::ExportScriptableSlots |
                                                         QDBusConnection::ExportScriptableSignals |
                                                         QDBusConnection::ExportAllProperties);
    }
    ~PortalSession() override {
        stop();
        QDBusConnection::sessionBus().unregisterObject(path_);
    }
    uint version() const { return 1; }
    void stop() {
        if (!cast.isEmpty()) compositor_.stopCast(std::exchange(cast, {}));
    }

    void end() {
        stop();
        Q_EMIT Closed();
    }

    QString cast;    // the compositor's session, while there is a stream
    uint types = 1;  // what may be chosen: 1 monitors, 2 windows
    uint cursor = 1;
    bool remembered = false;
    std::function<void()> ended;

    Q_SCRIPTABLE Q_SLOT void Close() {
        stop();
        ended();
    }
  Q_SIGNALS:
    Q_SCRIPTABLE void Closed();

  private:
    Compositor& compositor_;
    QString path_;
};

class Sessions {
  public:
    explicit Sessions(Compositor& compositor) : compositor_(compositor) {}
    PortalSession& make(const QDBusObjectPath& path) {
        auto& session = all_[path.path()] = std::make_unique<PortalSession>(compositor_, path.path());
        session->ended = [this, name = path.path()] {
            if (const auto it = all_.find(name); it != all_.end()) {
                it->second.release()->deleteLater();
                all_.erase(it);
            }
        };
        return *session;
    }
    PortalSession* find(const QDBusObjectPath& path) {
        const auto it = all_.find(path.path());
        return it == all_.end() ? nullptr : it->second.get();
    }
    void endAll() {
        for (auto& [path, session] : all_) session->end();
    }
    void endCast(const QString& cast) {
        for (auto& [path, session] : all_)
            if (session->cast == cast) session->end();
    }

  private:
    Compositor& compositor_;
    std::map<QString, std::unique_ptr<PortalSession>> all_;
};

struct Person {
    QString answer = QStringLiteral("accept");
    int asked = 0;
};

class ScreenCast final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.ScreenCast")
    Q_PROPERTY(uint AvailableSourceTypes READ sourceTypes)
    Q_PROPERTY(uint AvailableCursorModes READ cursorModes)
    Q_PROPERTY(uint version READ version)

  public:
    ScreenCast(QObject& object, Compositor& compositor, Sessions& sessions, Person& person, uint cursorModes)
        : QDBusAbstractAdaptor(&object),
          compositor_(compositor),
          sessions_(sessions),
          person_(person),
          cursorModes_(cursorModes) {}
    uint sourceTypes() const { return 3; }
    uint cursorModes() const { return cursorModes_; }
    uint version() const { return 4; }

  public Q_SLOTS:
    uint CreateSession(const QDBusObjectPath&, const QDBusObjectPath& session, const QString&,
                       const QVariantMap&, QVariantMap& results) {
        sessions_.make(session);
        results = {};
        return done;
    }
    uint SelectSources(const QDBusObjectPath&, const QDBusObjectPath& path, const QString&,
                       const QVariantMap& options, QVariantMap& results) {
        results = {};
        PortalSession* const session = sessions_.find(path);
        if (session == nullptr) return refused;
        session->types = options.value(QStringLiteral("types"), 1U).toUInt();
        session->cursor = options.value(QStringLiteral("cursor_mode"), 1U).toUInt();
        if (const auto stored = options.value(QStringLiteral("restore_data")); stored.isValid())
            session->remembered = qdbus_cast<RestoreData>(stored).vendor == restoreVendor;
        return done;
    }
    uint Start(const QDBusObjectPath&, const QDBusObjectPath& path, const QString&, const QString&,
               const QVariantMap&, const QDBusMessage& call, QVariantMap& results) {
        results = {};
        PortalSession* const session = sessions_.find(path);
        if (session == nullptr) return refused;
        if (!session->remembered) ++person_.asked;
        if (person_.answer == QLatin1String("cancel")) return cancelled;
        if (person_.answer == QLatin1String("refuse")) return refused;
        call.setDelayedReply(true);
        if (person_.answer == QLatin1String("never")) return done;
        const auto source =
            (session->types & 2U) != 0 ? Compositor::Source::window : Compositor::Source::monitor;
        const uint cursor = session->cursor == 4 ? 2 : session->cursor == 2 ? 1 : 0;
        session->cast = compositor_.startCast(source, cursor, [call, source](uint node, QVariantMap place) {
            place[QStringLiteral("source_type")] = source == Compositor::Source::window ? 2U : 1U;
            const QVariantMap found{
                {QStringLiteral("streams"), QVariant::fromValue(QList<CastStream>{CastStream{node, place}})},
                {QStringLiteral("persist_mode"), 2U},
                {QStringLiteral("restore_data"),
                 QVariant::fromValue(RestoreData{restoreVendor, 1, QDBusVariant(QStringLiteral("it"))})}};
            QDBusConnection::sessionBus().send(call.createReply({done, found}));
        });
        if (session->cast.isEmpty())
            QDBusConnection::sessionBus().send(call.createReply({refused, QVariantMap()}));
        return done;
    }

  private:
    Compositor& compositor_;
    Sessions& sessions_;
    Person& person_;
    uint cursorModes_;
};

class GlobalShortcuts final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)

  public:
    GlobalShortcuts(QObject& object, Sessions& sessions)
        : QDBusAbstractAdaptor(&object), sessions_(sessions) {}
    uint version() const { return 1; }
    void press(const QString& id) {
        for (const auto& [session, shortcuts] : bound_)
            for (const Shortcut& each : shortcuts)
                if (each.id == id) Q_EMIT Activated(QDBusObjectPath(session), id, 0, {});
    }

  public Q_SLOTS:
    uint CreateSession(const QDBusObjectPath&, const QDBusObjectPath& session, const QString&,
                       const QVariantMap&, QVariantMap& results) {
        sessions_.make(session);
        results = {};
        return done;
    }
    uint BindShortcuts(const QDBusObjectPath&, const QDBusObjectPath& session,
                       const QList<rig::Shortcut>& shortcuts, const QString&, const QVariantMap&,
                       QVariantMap& results) {
        bound_[session.path()] = shortcuts;
        return ListShortcuts({}, session, results);
    }
    uint ListShortcuts(const QDBusObjectPath&, const QDBusObjectPath& session, QVariantMap& results) {
        results = {{QStringLiteral("shortcuts"), QVariant::fromValue(bound_[session.path()])}};
        return done;
    }
  Q_SIGNALS:
    void Activated(const QDBusObjectPath& session, const QString& id, qulonglong time,
                   const QVariantMap& options);

  private:
    Sessions& sessions_;
    std::map<QString, QList<Shortcut>> bound_;
};

class Control final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.pellanor.cobaltreel.Rig")

  public:
    Control(Compositor& compositor, Sessions& sessions, Person& person, GlobalShortcuts* shortcuts)
        : compositor_(compositor), sessions_(sessions), person_(person), shortcuts_(shortcuts) {}

  public Q_SLOTS:
    Q_SCRIPTABLE void Answer(const QString& answer) { person_.answer = answer; }
    Q_SCRIPTABLE int Asked() { return person_.asked; }
    Q_SCRIPTABLE void EndSharing() { sessions_.endAll(); }
    Q_SCRIPTABLE void Press(const QString& shortcut) {
        if (shortcuts_ != nullptr) shortcuts_->press(shortcut);
    }
    Q_SCRIPTABLE void Move(double x, double y) {
        x_ = x;
        y_ = y;
        compositor_.movePointer(x, y);
    }
    Q_SCRIPTABLE double Where(double& y) {
        y = y_;
        return x_;
    }
    Q_SCRIPTABLE void Button(int code, bool down) { compositor_.pressButton(code, down); }

  private:
    Compositor& compositor_;
    Sessions& sessions_;
    Person& person_;
    GlobalShortcuts* shortcuts_;
    double x_ = 0;
    double y_ = 0;
};

}  // namespace rig

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    uint cursorModes = 7;
    bool noScreenCast = false, noShortcuts = false;
    RigArguments arguments;
    arguments.value("--cursor-modes", [&](const std::string& text) {
        cursorModes = static_cast<uint>(std::strtoul(text.c_str(), nullptr, 10));
    });
    arguments.flag("--no-screencast", noScreenCast);
    arguments.flag("--no-shortcuts", noShortcuts);
    arguments.read(argc, argv);

    qDBusRegisterMetaType<rig::CastStream>();
    qDBusRegisterMetaType<QList<rig::CastStream>>();
    qDBusRegisterMetaType<rig::RestoreData>();
    qDBusRegisterMetaType<rig::Shortcut>();
    qDBusRegisterMetaType<QList<rig::Shortcut>>();

    rig::Compositor compositor;
    rig::Sessions sessions(compositor);
    rig::Person person;
    QObject desktop;
    std::unique_ptr<rig::ScreenCast> screenCast;
    if (!noScreenCast)
        screenCast = std::make_unique<rig::ScreenCast>(desktop, compositor, sessions, person, cursorModes);
    std::unique_ptr<rig::GlobalShortcuts> shortcuts;
    if (!noShortcuts) shortcuts = std::make_unique<rig::GlobalShortcuts>(desktop, sessions);
    rig::Control control(compositor, sessions, person, shortcuts.get());
    compositor.castEnded = [&](const QString& cast) { sessions.endCast(cast); };

    auto bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &desktop) ||
        !bus.registerObject(QStringLiteral("/rig"), &control, QDBusConnection::ExportScriptableSlots) ||
        !bus.registerService(QStringLiteral("org.freedesktop.impl.portal.desktop.rig"))) {
        std::fputs("RigPortal: no place on the session's bus\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

#include "RigPortal.moc"

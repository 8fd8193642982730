#include "Platform/Desktop/Portal/PortalKeys.hpp"

#include "Platform/Desktop/Portal/PortalShortcuts.hpp"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QList>
#include <utility>

namespace platform {

/// A shortcut with what describes it: (sa{sv}).
struct ShortcutOffer {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& out, const ShortcutOffer& offer) {
    out.beginStructure();
    out << offer.id << offer.properties;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, ShortcutOffer& offer) {
    in.beginStructure();
    in >> offer.id >> offer.properties;
    in.endStructure();
    return in;
}

namespace {

const QString globalShortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
constexpr int portalMilliseconds = 2000;

QString textOf(std::string_view literal) {
    return QString::fromUtf8(literal.data(), static_cast<qsizetype>(literal.size()));
}
QString nameOf(const KeyChord& chord) { return textOf(chord.identifier); }

/// In the notation that desktops share for shortcuts.
QString triggerOf(const KeyChord& chord) {
    return QLatin1String(chord.command ? "LOGO+" : "") + QLatin1String(chord.option ? "ALT+" : "") +
           QString::number(chord.digit);
}

}  // namespace

PortalKeys::PortalKeys(std::shared_ptr<PortalBus> bus, std::shared_ptr<KeyGrabber> windows)
    : bus_(std::move(bus)), windows_(std::move(windows)) {}

std::unique_ptr<KeyGrab> PortalKeys::grabEscape(std::function<void()> pressed) {
    if (!windows_) throw PlatformError("Desktop", 1, "Without XWayland Escape cannot be had.");
    return windows_->grabEscape(std::move(pressed));
}

std::unique_ptr<KeyGrab> PortalKeys::grabChord(const KeyChord& chord, std::function<void()> pressed) {
    if (const auto reason = chordsUnavailable()) throw *reason;
    auto shortcuts = shortcuts_.lock();
    if (!shortcuts || !shortcuts->takesMore()) shortcuts = PortalShortcuts::make(bus_);
    shortcuts_ = shortcuts;
    return shortcuts->add(chord, std::move(pressed));
}

std::optional<PlatformError> PortalKeys::chordsUnavailable() {
    if (bus_->properties(globalShortcuts, portalMilliseconds)) return std::nullopt;
    return PlatformError(
        "Desktop", 1,
        "This desktop gives programs no keys. Bind one to `cobaltreel toggle` in its settings.");
}

struct PortalShortcuts::Grab final : KeyGrab {
    Grab(std::shared_ptr<PortalShortcuts> all, std::size_t number) : all_(std::move(all)), number_(number) {}
    ~Grab() override { all_->chords_[number_].pressed = nullptr; }

  private:
    std::shared_ptr<PortalShortcuts> all_;
    std::size_t number_;
};

std::shared_ptr<PortalShortcuts> PortalShortcuts::make(std::shared_ptr<PortalBus> bus) {
    qDBusRegisterMetaType<ShortcutOffer>();
    qDBusRegisterMetaType<QList<ShortcutOffer>>();
    const std::shared_ptr<PortalShortcuts> made(new PortalShortcuts(std::move(bus)));
    made->bus_->connection().connect(QString(), QString(), globalShortcuts, QStringLiteral("Activated"),
                                     made.get(),
                                     SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    QMetaObject::invokeMethod(
        made.get(), [shortcuts = made.get()] { shortcuts->ask(); }, Qt::QueuedConnection);
    return made;
}

PortalShortcuts::~PortalShortcuts() {
    if (!session_.isEmpty()) bus_->closeSession(session_);
}

std::unique_ptr<KeyGrab> PortalShortcuts::add(const KeyChord& chord, std::function<void()> pressed) {
    chords_.push_back({chord, std::move(pressed)});
    return std::make_unique<Grab>(shared_from_this(), chords_.size() - 1);
}

void PortalShortcuts::ask() {
    isAsked_ = true;
    // KDE keeps the user's keys under this name, so it stays the same from start to start.
    QString token = QStringLiteral("cobaltreel");
    for (const Chord& each : chords_) token += QLatin1Char('_') + nameOf(each.keys);
    bus_->request(globalShortcuts, QStringLiteral("CreateSession"), {},
                  {{QStringLiteral("session_handle_token"), token}},
                  [weak = weak_from_this()](const PortalAnswer& answer) {
                      const auto self = weak.lock();
                      if (!self || answer.outcome != PortalAnswer::Outcome::done) return;
                      self->session_ = answer.results.value(QStringLiteral("session_handle")).toString();
                      self->bind();
                  });
}

void PortalShortcuts::bind() {
    QList<ShortcutOffer> shortcuts;
    for (const Chord& each : chords_)
        shortcuts.append({nameOf(each.keys),
                          {{QStringLiteral("description"), textOf(each.keys.meaning)},
                           {QStringLiteral("preferred_trigger"), triggerOf(each.keys)}}});
    // Without an answer the keys just never come.
    bus_->request(globalShortcuts, QStringLiteral("BindShortcuts"),
                  {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(shortcuts), QString()},
                  {}, [](const PortalAnswer&) {});
}

void PortalShortcuts::activated(const QDBusObjectPath& session, const QString& id, qulonglong,
                                const QVariantMap&) {
    if (session.path() != session_) return;
    for (const Chord& each : chords_) {
        if (nameOf(each.keys) != id || !each.pressed) continue;
        const auto pressed = each.pressed;  // may give the keys back
        return pressed();
    }
}

}  // namespace platform

Q_DECLARE_METATYPE(platform::ShortcutOffer)

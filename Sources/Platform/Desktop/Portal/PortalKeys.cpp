#include "Platform/Desktop/Portal/PortalKeys.hpp"

#include "Platform/Desktop/Portal/PortalShortcut.hpp"

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
const QString shortcutID = QStringLiteral("toggle");
constexpr int portalMilliseconds = 2000;

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
    return std::make_unique<PortalShortcut>(bus_, chord, std::move(pressed));
}

std::optional<PlatformError> PortalKeys::chordsUnavailable() {
    if (bus_->properties(globalShortcuts, portalMilliseconds)) return std::nullopt;
    return PlatformError(
        "Desktop", 1,
        "This desktop gives programs no keys. Bind one to `cobaltreel toggle` in its settings.");
}

PortalShortcut::PortalShortcut(std::shared_ptr<PortalBus> bus, const KeyChord& chord,
                               std::function<void()> pressed)
    : bus_(std::move(bus)), pressed_(std::move(pressed)), self_(std::make_shared<PortalShortcut*>(this)) {
    qDBusRegisterMetaType<ShortcutOffer>();
    qDBusRegisterMetaType<QList<ShortcutOffer>>();
    bus_->connection().connect(QString(), QString(), globalShortcuts, QStringLiteral("Activated"), this,
                               SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    const auto weak = std::weak_ptr(self_);
    bus_->request(globalShortcuts, QStringLiteral("CreateSession"), {},
                  {{QStringLiteral("session_handle_token"), PortalBus::newToken()}},
                  [weak, trigger = triggerOf(chord)](const PortalAnswer& answer) {
                      const auto self = weak.lock();
                      if (!self || answer.outcome != PortalAnswer::Outcome::done) return;
                      (*self)->session_ = answer.results.value(QStringLiteral("session_handle")).toString();
                      (*self)->bind(trigger);
                  });
}

PortalShortcut::~PortalShortcut() {
    self_.reset();
    if (!session_.isEmpty()) bus_->closeSession(session_);
}

void PortalShortcut::bind(const QString& trigger) {
    const QList<ShortcutOffer> shortcuts{
        {shortcutID,
         {{QStringLiteral("description"), QStringLiteral("Start or stop a recording")},
          {QStringLiteral("preferred_trigger"), trigger}}}};
    // Without an answer the keys just never come.
    bus_->request(globalShortcuts, QStringLiteral("BindShortcuts"),
                  {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(shortcuts), QString()},
                  {}, [](const PortalAnswer&) {});
}

void PortalShortcut::activated(const QDBusObjectPath& session, const QString& id, qulonglong,
                               const QVariantMap&) {
    if (session.path() == session_ && id == shortcutID) pressed_();
}

}  // namespace platform

Q_DECLARE_METATYPE(platform::ShortcutOffer)

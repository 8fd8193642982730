#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"

#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// The chords of one turn of the main loop, which the desktop's portal asks the user about together; given
/// back when the last of them goes.
class PortalShortcuts final : public QObject, public std::enable_shared_from_this<PortalShortcuts> {
    Q_OBJECT

  public:
    static std::shared_ptr<PortalShortcuts> make(std::shared_ptr<PortalBus> bus);
    ~PortalShortcuts() override;

    /// The portal has not been asked yet.
    bool takesMore() const { return !isAsked_; }
    std::unique_ptr<KeyGrab> add(const KeyChord& chord, std::function<void()> pressed);

  private:
    struct Grab;
    struct Chord {
        KeyChord keys;
        std::function<void()> pressed;  // empty once released
    };

    explicit PortalShortcuts(std::shared_ptr<PortalBus> bus) : bus_(std::move(bus)) {}
    Q_SLOT void activated(const QDBusObjectPath& session, const QString& id, qulonglong time,
                          const QVariantMap& options);
    void ask();
    void bind();

    std::shared_ptr<PortalBus> bus_;
    std::vector<Chord> chords_;
    bool isAsked_ = false;
    QString session_;
};

}  // namespace platform

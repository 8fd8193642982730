#pragma once

#include "Platform/Desktop/KeyGrab.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"

#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>
#include <functional>
#include <memory>

namespace platform {

/// A chord that the desktop's portal gave us, or is about to give; given back when this goes.
class PortalShortcut final : public QObject, public KeyGrab {
    Q_OBJECT

  public:
    PortalShortcut(std::shared_ptr<PortalBus> bus, const KeyChord& chord, std::function<void()> pressed);
    ~PortalShortcut() override;

  private:
    Q_SLOT void activated(const QDBusObjectPath& session, const QString& id, qulonglong time,
                          const QVariantMap& options);
    void bind(const QString& trigger);

    std::shared_ptr<PortalBus> bus_;
    std::function<void()> pressed_;
    std::shared_ptr<PortalShortcut*> self_;  // held weakly by requests
    QString session_;
};

}  // namespace platform

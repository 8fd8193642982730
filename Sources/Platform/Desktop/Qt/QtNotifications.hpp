#pragma once

#include "Platform/Desktop/Notifications.hpp"

#include <QObject>
#include <QString>
#include <cstdint>

namespace platform {

/// Speaks to the desktop's notification service over the session's bus. A message is critical where the
/// service can hold back others, as it does while a recording runs; elsewhere it is an ordinary one, which
/// goes by itself.
class QtNotifications final : public QObject, public Notifications {
  public:
    void show(const std::string& title, const std::string& text) override;

  private:
    void notify(const QString& title, const QString& text, bool isCritical);

    std::uint32_t last_ = 0;  ///< what the service called the message before
};

}  // namespace platform

#pragma once

#include "Platform/Desktop/Notifications.hpp"

#include <QObject>
#include <cstdint>

namespace platform {

/// Speaks to the desktop's notification service over the session's bus.
class QtNotifications final : public QObject, public Notifications {
  public:
    void show(const std::string& title, const std::string& text) override;

  private:
    std::uint32_t last_ = 0;  ///< what the service called the message before
};

}  // namespace platform

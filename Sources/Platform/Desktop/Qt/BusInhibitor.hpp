#pragma once

#include "Platform/Desktop/Inhibitor.hpp"

#include <string>

namespace platform {

/// Over the session's bus: notifications by their server, when that has the capability "inhibitions"; the
/// screen by the service org.freedesktop.ScreenSaver, else by the desktop's portal. Every inhibition has a
/// connection of its own, with whose end, however it comes, the desktop drops it.
class BusInhibitor final : public Inhibitor {
  public:
    /// `application` is the name of the program's desktop file.
    explicit BusInhibitor(std::string application) : application_(std::move(application)) {}
    std::unique_ptr<Inhibition> inhibit(const std::string& reason) override;
    Offer offer() override;

  private:
    std::string application_;
};

}  // namespace platform

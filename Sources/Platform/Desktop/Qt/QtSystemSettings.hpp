#pragma once

#include "Platform/Desktop/SystemSettings.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The settings programs of the desktops, each with the page that comes closest to what is asked for.
class QtSystemSettings final : public SystemSettings {
  public:
    /// A program with its arguments.
    using Command = std::vector<std::string>;

    bool open(const std::string& anchor) override;

    /// What opens the page on a desktop, as XDG_CURRENT_DESKTOP names it ("ubuntu:GNOME"): its own program if
    /// that is installed, otherwise any that is; absent for an unknown anchor or without such a program.
    static std::optional<Command> command(const std::string& anchor, const std::string& desktop,
                                          const std::function<bool(const std::string& program)>& isInstalled);
};

}  // namespace platform

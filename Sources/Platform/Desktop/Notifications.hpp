#pragma once

#include <string>

namespace platform {

/// Short messages that the desktop shows by itself for a while. Main thread.
class Notifications {
  public:
    virtual ~Notifications() = default;
    /// Shows the text under the program's name, in place of the message before; returns at once. A desktop
    /// that shows none loses it.
    virtual void show(const std::string& title, const std::string& text) = 0;
};

}  // namespace platform

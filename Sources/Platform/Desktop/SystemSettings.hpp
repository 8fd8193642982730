#pragma once

#include <string>

namespace platform {

/// The desktop's own settings program. Main thread.
class SystemSettings {
  public:
    virtual ~SystemSettings() = default;
    /// Opens the page where the user allows what `anchor` names: "Privacy_ScreenCapture", "Privacy_Camera" or
    /// "Privacy_Microphone". False for any other anchor, and on a desktop without such a program.
    virtual bool open(const std::string& anchor) = 0;
};

}  // namespace platform

#pragma once

#include <functional>
#include <optional>
#include <string>

namespace platform {

/// The kind of desktop session that the program runs in.
enum class SessionType { x11, wayland };

/// What the session is and what told so.
struct Session {
    SessionType type = SessionType::x11;
    std::string reason;     ///< what decided: a variable with its value
    bool isForced = false;  ///< by COBALTREEL_PLATFORM
};

/// Decides by what the session says of itself, never by which servers answer: a Wayland desktop serves X11
/// too, and shows black there. COBALTREEL_PLATFORM=x11|wayland has the last word. Throws PlatformError when
/// that variable holds anything else. `variable` reads the environment.
Session decideSession(const std::function<std::optional<std::string>(const char* name)>& variable);
/// The same, by the environment of this process.
Session decideSession();

}  // namespace platform

#include "Platform/Desktop/SessionType.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <cstdlib>

namespace platform {

Session decideSession(const std::function<std::optional<std::string>(const char*)>& variable) {
    static constexpr const char* forced = "COBALTREEL_PLATFORM";
    const auto valueOf = [&](const char* name) { return variable(name).value_or(""); };
    const auto because = [&](SessionType type, const char* name) {
        return Session{type, std::string(name) + "=" + valueOf(name), name == forced};
    };
    if (const std::string wish = valueOf(forced); !wish.empty()) {
        if (wish == "x11") return because(SessionType::x11, forced);
        if (wish == "wayland") return because(SessionType::wayland, forced);
        throw PlatformError("Desktop", 1, std::string(forced) + "=" + wish + " is neither x11 nor wayland.");
    }
    // A compositor started inside another session leaves that one's type in place, but always sets its own
    // socket.
    if (!valueOf("WAYLAND_DISPLAY").empty()) return because(SessionType::wayland, "WAYLAND_DISPLAY");
    if (valueOf("XDG_SESSION_TYPE") == "wayland") return because(SessionType::wayland, "XDG_SESSION_TYPE");
    if (valueOf("XDG_SESSION_TYPE") == "x11") return because(SessionType::x11, "XDG_SESSION_TYPE");
    return because(SessionType::x11, "DISPLAY");
}

Session decideSession() {
    return decideSession([](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value == nullptr ? std::nullopt : std::optional<std::string>(value);
    });
}

}  // namespace platform

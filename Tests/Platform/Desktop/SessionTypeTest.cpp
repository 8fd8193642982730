#include "Platform/Desktop/SessionType.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <map>

#include <gtest/gtest.h>

namespace platform {
namespace {

Session decide(std::map<std::string, std::string> environment) {
    return decideSession([&](const char* name) -> std::optional<std::string> {
        const auto found = environment.find(name);
        return found == environment.end() ? std::nullopt : std::optional(found->second);
    });
}

TEST(SessionTypeTest, IsWhatTheSessionSaysOfItself) {
    const struct {
        std::map<std::string, std::string> environment;
        SessionType type;
        const char* reason;
    } cases[] = {
        {{{"DISPLAY", ":0"}}, SessionType::x11, "DISPLAY="},
        {{{"XDG_SESSION_TYPE", "x11"}, {"DISPLAY", ":0"}}, SessionType::x11, "XDG_SESSION_TYPE=x11"},
        {{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}},
         SessionType::wayland,
         "XDG_SESSION_TYPE=wayland"},
        {{{"XDG_SESSION_TYPE", "tty"}, {"WAYLAND_DISPLAY", "wayland-1"}, {"DISPLAY", ":0"}},
         SessionType::wayland,
         "WAYLAND_DISPLAY=wayland-1"},
        {{{"COBALTREEL_PLATFORM", "x11"}, {"XDG_SESSION_TYPE", "wayland"}, {"WAYLAND_DISPLAY", "wayland-0"}},
         SessionType::x11,
         "COBALTREEL_PLATFORM=x11"},
        {{{"COBALTREEL_PLATFORM", "wayland"}}, SessionType::wayland, "COBALTREEL_PLATFORM=wayland"},
        {{{"COBALTREEL_PLATFORM", ""}, {"DISPLAY", ":0"}}, SessionType::x11, "DISPLAY="},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reason);
        const Session session = decide(each.environment);
        EXPECT_EQ(session.type, each.type);
        EXPECT_TRUE(session.reason.starts_with(each.reason)) << session.reason;
    }
    EXPECT_THROW(decide({{"COBALTREEL_PLATFORM", "Wayland"}}), PlatformError);
}

}  // namespace
}  // namespace platform

#include "Platform/Desktop/Qt/QtSystemSettings.hpp"

#include <set>

#include <gtest/gtest.h>

namespace platform {

TEST(SystemSettings, OpensTheDesktopsOwnPageElseAnyElseNothing) {
    using Command = QtSystemSettings::Command;
    struct Case {
        const char* anchor;
        const char* desktop;
        std::set<std::string> installed;
        Command expected;
    };
    const Case cases[]{
        {"Privacy_Camera",
         "ubuntu:GNOME",
         {"systemsettings", "gnome-control-center"},
         {"gnome-control-center", "camera"}},
        {"Privacy_Microphone",
         "KDE",
         {"gnome-control-center", "systemsettings"},
         {"systemsettings", "kcm_pulseaudio"}},
        {"Privacy_Camera", "Openbox", {"xfce4-settings-manager"}, {"xfce4-settings-manager"}},
        {"Privacy_Microphone", "", {"pavucontrol"}, {"pavucontrol"}},
        {"Privacy_ScreenCapture", "GNOME", {"pavucontrol"}, {}},
        {"Privacy_Camera", "GNOME", {}, {}},
        {"Privacy Camera; reboot", "GNOME", {"gnome-control-center"}, {}},
        {"", "GNOME", {"gnome-control-center"}, {}},
    };
    for (const Case& c : cases) {
        const auto command = QtSystemSettings::command(
            c.anchor, c.desktop, [&](const std::string& program) { return c.installed.contains(program); });
        EXPECT_EQ(command.value_or(Command{}), c.expected) << c.anchor << " on " << c.desktop;
    }
}

}  // namespace platform

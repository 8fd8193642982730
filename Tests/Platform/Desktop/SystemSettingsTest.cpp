#include "Platform/Desktop/Qt/QtSystemSettings.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>

namespace platform {

TEST(SystemSettingsTest, OpensTheDesktopsOwnPageElseAnyElseNothing) {
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

TEST(SystemSettingsTest, TheProgramHasTheSignalsThatThisOneKeepsForItself) {
    const rig::TemporaryFolder folder;
    const std::string path = getenv("PATH"), mask = (folder / "mask").string();
    std::ofstream(folder / "pavucontrol") << "#!/bin/sh\ngrep SigBlk /proc/self/status >" << mask
                                          << ".part\nmv " << mask << ".part " << mask << '\n';
    std::filesystem::permissions(folder / "pavucontrol", std::filesystem::perms::owner_all);
    setenv("PATH", (folder.path().string() + ':' + path).c_str(), 1);
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    QtSystemSettings settings;
    EXPECT_TRUE(settings.open("Privacy_Microphone"));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    setenv("PATH", path.c_str(), 1);
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(mask); }));
    std::string name, bits;
    std::ifstream(mask) >> name >> bits;
    EXPECT_EQ(bits, std::string(16, '0'));
}

}  // namespace platform

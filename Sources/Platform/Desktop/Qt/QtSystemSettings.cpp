#include "Platform/Desktop/Qt/QtSystemSettings.hpp"

#include "Platform/Desktop/Qt/ChildSignals.hpp"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <algorithm>

namespace platform {
namespace {

struct Page {
    const char* anchor;
    const char* desktop;  // one of the names in XDG_CURRENT_DESKTOP
    const char* program;
    const char* argument;  // null: the program's first page
};

constexpr Page pages[]{
    {"Privacy_ScreenCapture", "GNOME", "gnome-control-center", "privacy"},
    {"Privacy_Camera", "GNOME", "gnome-control-center", "camera"},
    {"Privacy_Microphone", "GNOME", "gnome-control-center", "microphone"},
    {"Privacy_ScreenCapture", "KDE", "systemsettings", nullptr},
    {"Privacy_Camera", "KDE", "systemsettings", nullptr},
    {"Privacy_Microphone", "KDE", "systemsettings", "kcm_pulseaudio"},
    {"Privacy_ScreenCapture", "X-Cinnamon", "cinnamon-settings", "privacy"},
    {"Privacy_Camera", "X-Cinnamon", "cinnamon-settings", "privacy"},
    {"Privacy_Microphone", "X-Cinnamon", "cinnamon-settings", "sound"},
    {"Privacy_ScreenCapture", "XFCE", "xfce4-settings-manager", nullptr},
    {"Privacy_Camera", "XFCE", "xfce4-settings-manager", nullptr},
    {"Privacy_Microphone", "XFCE", "pavucontrol", nullptr},
    {"Privacy_ScreenCapture", "MATE", "mate-control-center", nullptr},
    {"Privacy_Camera", "MATE", "mate-control-center", nullptr},
    {"Privacy_Microphone", "MATE", "mate-volume-control", nullptr},
    {"Privacy_ScreenCapture", "LXQt", "lxqt-config", nullptr},
    {"Privacy_Camera", "LXQt", "lxqt-config", nullptr},
    {"Privacy_Microphone", "LXQt", "pavucontrol-qt", nullptr},
    // Whatever the desktop.
    {"Privacy_Microphone", "", "pavucontrol", nullptr},
};

}  // namespace

std::optional<QtSystemSettings::Command> QtSystemSettings::command(
    const std::string& anchor, const std::string& desktop,
    const std::function<bool(const std::string&)>& isInstalled) {
    const QStringList desktops = QString::fromStdString(desktop).split(QLatin1Char(':'));
    const Page* best = nullptr;
    for (const Page& page : pages) {
        if (anchor != page.anchor || !isInstalled(page.program)) continue;
        const bool own = desktops.contains(QLatin1String(page.desktop), Qt::CaseInsensitive);
        if (best == nullptr || own) best = &page;
        if (own) break;
    }
    if (best == nullptr) return std::nullopt;
    Command command{best->program};
    if (best->argument != nullptr) command.emplace_back(best->argument);
    return command;
}

bool QtSystemSettings::open(const std::string& anchor) {
    const auto chosen = command(
        anchor, qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString(), [](const std::string& program) {
            return !QStandardPaths::findExecutable(QString::fromStdString(program)).isEmpty();
        });
    if (!chosen) return false;
    QStringList arguments;
    for (std::size_t word = 1; word < chosen->size(); ++word)
        arguments.append(QString::fromStdString(chosen->at(word)));
    QProcess process;
    process.setProgram(QString::fromStdString(chosen->front()));
    process.setArguments(arguments);
    process.setChildProcessModifier(&unblockSignals);
    return process.startDetached();
}

}  // namespace platform

#include "Cobaltreel/UI/SettingsWindow/SettingsWindow.hpp"

#include "Cobaltreel/UI/Windows/InterfaceSettings.hpp"

namespace cobaltreel {

void SettingsWindow::open() {
    if (isOpen()) {
        AppWindows::bringForward(*window_);
        return;
    }
    const View view =
        View::ofModule(QStringLiteral("Cobaltreel.SettingsWindow"), QStringLiteral("SettingsView"),
                       {{QStringLiteral("settings"), QVariant::fromValue(&AppWindows::settings())}});
    window_ = AppWindows::present(view, QStringLiteral("Cobaltreel"), QSize(320, 140));
}

}  // namespace cobaltreel

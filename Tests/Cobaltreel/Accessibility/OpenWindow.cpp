// Opens a window that the application shows only to some users, until a signal ends it: OpenWindow
// onboarding|alert.
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/OnboardingWindow/OnboardingWindow.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeShellServices.hpp"
#include "Fakes/VirtualTime.hpp"

#include <QApplication>
#include <string_view>

int main(int argc, char** argv) {
    using namespace cobaltreel;
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Cobaltreel"));
    AppSettings::shared();
    AlertWindows alerts;
    const auto time = std::make_shared<platform::VirtualTime>();
    const auto devices = std::make_shared<platform::FakeDeviceAccess>();
    devices->camera = platform::AuthorizationStatus::authorized;
    devices->microphone = platform::AuthorizationStatus::denied;
    const auto screen = std::make_shared<platform::FakeScreenAccess>();
    screen->granted = false;
    Permissions permissions({time, screen, devices, std::make_shared<platform::FakeSystemSettings>(),
                             std::make_shared<platform::FakeRelauncher>(), [] {}});
    OnboardingWindow onboarding(permissions, time);
    if (argc > 1 && std::string_view(argv[1]) == "onboarding")
        onboarding.open();
    else
        alerts.present({S::orphanTitle(), S::orphanMessage(), {S::open(), S::cancel()}}, [](int) {});
    return QApplication::exec();
}

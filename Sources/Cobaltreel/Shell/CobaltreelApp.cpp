#include "Cobaltreel/Shell/CobaltreelApp.hpp"

#include "Cobaltreel/Shell/AppDelegate.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/BubbleWindow/BubbleWindowController.hpp"
#include "Cobaltreel/UI/CountdownWindow/CountdownWindow.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/UserDefaults.hpp"

#include <QCoroTask>
#include <QGuiApplication>
#include <QIcon>
#include <QSessionManager>
#include <cstdio>
#include <utility>

namespace cobaltreel {
namespace {

// Service managers give up on a program after ninety seconds.
constexpr double patienceAtEnd = 60;  // seconds

RecordingServices recordingServices(const platform::PlatformServices& host) {
    const auto alerts = std::make_shared<AlertWindows>();
    RecordingServices services(host);
    services.defaults = platform::UserDefaults::standard();
    services.bubble = std::make_shared<BubbleWindowController>(host.clock, host.mainLoop, host.vision,
                                                               host.compositor, host.windowManager);
    services.countdown =
        std::make_shared<Countdown>(host.mainLoop, host.keys, CountdownWindow::factory(host.compositor));
    services.windows = std::make_shared<PreviewWindows>(PreviewServices{
        host.players, host.media, host.vision, host.fileBrowser, alerts, host.clock, host.mainLoop});
    services.alerts = alerts;
    return services;
}

void introduceToDesktop() {
    QGuiApplication::setDesktopFileName(QString::fromLatin1(bundleIdentifier));
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QString::fromLatin1(bundleIdentifier),
                                                    QIcon(QStringLiteral(":/cobaltreel/application.svg"))));
}

}  // namespace

std::string CobaltreelApp::timeString(double seconds) {
    const auto whole = static_cast<long long>(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld", whole / 60, whole % 60);
    return text;
}

void CobaltreelApp::run(platform::PlatformServices host,
                        const std::function<void(std::function<void()>)>& endsWith) {
    AppDelegate* delegate = nullptr;
    // Before anything else: two instances would fight for the devices and for the recordings.
    const auto instance = host.singleInstance->claim([&delegate](const platform::InstanceRequest& request) {
        return delegate ? delegate->onRequest(request) : std::string();
    });
    if (!instance) return;

    introduceToDesktop();
    AppWindows::setWindowManager(host.windowManager);
    AppDelegate shell(host, recordingServices(host));
    delegate = &shell;
    // A log-out waits for the handlers of this signal.
    QObject::connect(
        qApp, &QGuiApplication::commitDataRequest, &shell,
        [&shell](QSessionManager&) { QCoro::waitFor(shell.finishBeforeQuit(AppDelegate::patienceAtLogOut)); },
        Qt::DirectConnection);
    const platform::Lifetime lifetime;
    endsWith([mainLoop = host.mainLoop, end = lifetime.guard([&shell] { shell.end(patienceAtEnd); })] {
        mainLoop->post(end);
    });
    host.mainLoop->post([&shell] { shell.applicationDidFinishLaunching(); });
    QCoreApplication::exec();
}

}  // namespace cobaltreel

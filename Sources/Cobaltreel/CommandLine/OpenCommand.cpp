#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/CommandLine/SessionArgument.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include <QEventLoop>
#include <QGuiApplication>
#include <memory>
#include <string>

namespace cobaltreel {
namespace {

ExitStatus runOpen(const std::string& text, Interrupt& interrupt) {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        throw CommandError("there is no display to open the window on; set DISPLAY");
    const auto services = hostServices();
    const auto session = openSession(text, *services.media);
    AppSettings::shared();
    AppWindows::setWindowManager(services.windowManager);

    PreviewWindows windows({services.players, services.media, services.vision, services.fileBrowser,
                            std::make_shared<AlertWindows>(), services.clock, services.mainLoop});
    QEventLoop loop;
    windows.openPreview(session.folder, session.meta, {}, [&loop](bool) { loop.quit(); });
    const auto handling =
        interrupt.handle([&] { services.mainLoop->post([&windows] { windows.endPreviews(0, [] {}); }); });
    loop.exec();
    return interrupt.happened() ? ExitStatus::interrupted : ExitStatus::done;
}

}  // namespace

void addOpenCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand(
        "open", "Open a session's preview window, until it is closed; the session stays, exported or not");
    auto session = std::make_shared<std::string>();
    command->add_option("session", *session, "Folder of the session, or its name among the recordings")
        ->required()
        ->type_name("SESSION");
    command->callback([&body, session] {
        body.windows = CommandBody::Windows::onScreen;
        // Made here, before the application starts threads.
        body.run = [session, interrupt = std::make_shared<Interrupt>()] {
            return runOpen(*session, *interrupt);
        };
    });
}

}  // namespace cobaltreel

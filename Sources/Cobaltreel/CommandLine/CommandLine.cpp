#include "Cobaltreel/CommandLine/CommandLine.hpp"

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Platform/Foundation/OpenFileLimit.hpp"
#include "Platform/PlatformServices.hpp"

#include <QApplication>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace cobaltreel {

namespace {

using Windows = CommandBody::Windows;

/// A recording of five streams beside a preview has eighty or a hundred.
constexpr int openFilesNeeded = 256;

std::unique_ptr<QCoreApplication> makeObject(Windows windows, int& argc, char** argv) {
    switch (windows) {
        case Windows::none:
            break;
        case Windows::application:
            platform::PlatformServices::requireDisplay();
            qputenv("QT_QPA_PLATFORM", "xcb");
            return std::make_unique<QApplication>(argc, argv);
        case Windows::onScreen:
            // Without a display Qt would end the process; the services say it better.
            if (!qEnvironmentVariableIsSet("DISPLAY")) break;
            qputenv("QT_QPA_PLATFORM", "xcb");
            return std::make_unique<QGuiApplication>(argc, argv);
    }
    return std::make_unique<QCoreApplication>(argc, argv);
}

/// The application object that a command runs in; alive as long as the result.
std::unique_ptr<QCoreApplication> makeApplication(Windows windows, int& argc, char** argv) {
    // A screen reader that is started later finds the windows, too; without its bus this costs nothing.
    if (!qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"))
        qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    auto application = makeObject(windows, argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setApplicationName("Cobaltreel");
    return application;
}

/// Of the program and of what it works with here: what a report of a fault should hold.
std::string versions() {
    std::string text = std::string("cobaltreel ") + COBALTREEL_VERSION;
    for (const auto& [name, version] : platform::PlatformServices::libraryVersions())
        text += "\n  " + name + ' ' + version;
    return text;
}

/// The program with the command that was being read.
std::string commandOf(const CLI::App& app) {
    const auto commands = app.get_subcommands();
    return "cobaltreel" + (commands.empty() ? "" : ' ' + commands.front()->get_name());
}

}  // namespace

CLI::Validator numberBetween(double least, double most) {
    return CLI::Validator(
        [least, most](const std::string& text) {
            double number = 0;
            const bool isNumber = CLI::detail::lexical_cast(text, number);
            if (isNumber && number >= least && number <= most) return std::string();
            std::ostringstream reason;
            reason << text << " is not a number from " << least << " to " << most;
            return reason.str();
        },
        "");
}

int runCommandLine(int argc, char** argv) {
    CLI::App app{"Records the screen for short tutorials and exports them as composed movies.", "cobaltreel"};
    app.set_version_flag("--version", versions);
    app.require_subcommand(0, 1);
    app.footer(
        "Without a command the application starts, or shows the panel of the one that runs.\n"
        "Results go to standard output, progress and messages to standard error.\n"
        "Exit status: 0 done, 1 failed, 2 wrong usage, 3 and 4 of status, 130 interrupted.");

    CommandBody body;
    addSourcesCommand(app, body);
    addRecordCommand(app, body);
    addSessionsCommand(app, body);
    addInspectCommand(app, body);
    addExportCommand(app, body);
    addOpenCommand(app, body);
    addToggleCommand(app, body);
    addMarkCommand(app, body);
    addStatusCommand(app, body);
    addDoctorCommand(app, body);
    addCompletionCommand(app, body);

    try {
        app.parse(argc, argv);
        if (!body.run) chooseApplication(body);
    } catch (const CLI::ParseError& error) {
        const std::string word = argc > 1 ? argv[1] : "";
        if (!word.empty() && word.front() != '-' &&
            app.get_subcommands([&](CLI::App* command) { return command->get_name() == word; }).empty()) {
            std::cerr << "cobaltreel: there is no command " << word << "; cobaltreel --help lists them\n";
            return static_cast<int>(ExitStatus::usage);
        }
        const bool asked = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
        if (asked)
            app.exit(error, std::cout, std::cerr);
        else
            std::cerr << "cobaltreel: " << error.what() << "; " << commandOf(app) << " --help tells more\n";
        return static_cast<int>(asked ? ExitStatus::done : ExitStatus::usage);
    }
    // The reader of our output may close its end; a recording goes on.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        platform::requireOpenFiles(openFilesNeeded);
        const auto application = makeApplication(body.windows, argc, argv);
        return static_cast<int>(body.run());
    } catch (const CommandError& error) {
        std::cerr << "cobaltreel: " << error.what() << '\n';
        return static_cast<int>(error.status());
    } catch (const std::exception& error) {
        std::cerr << "cobaltreel: " << error.what() << '\n';
        return static_cast<int>(ExitStatus::failed);
    }
}

}  // namespace cobaltreel

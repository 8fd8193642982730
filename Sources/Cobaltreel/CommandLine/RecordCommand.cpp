#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/TerminalSurroundings.hpp"
#include "Cobaltreel/Shell/InstanceAnswers.hpp"
#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/Hotkey.hpp"
#include "Cobaltreel/UI/CountdownWindow/CountdownWindow.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"

#include <QCoreApplication>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>

namespace cobaltreel {

namespace {

using State = RecordingCoordinator::State;

struct RecordArguments {
    std::optional<std::uint32_t> displayID;  // absent with `windowID` absent: the main display
    std::optional<std::uint32_t> windowID;
    std::optional<double> duration;         // seconds; absent: until stopped
    std::optional<std::string> camera;      // absent: the first one, when there is one
    std::optional<std::string> microphone;  // absent: the default one, when there is one
    bool systemAudio = false;
    bool autoZoom = false;
    CameraCorner corner = CameraCorner::bottomLeft;
    double bubbleSizeFraction = 0.24;
    CameraStyle style = CameraStyle::bubble;
    bool noMirror = false;
    bool countdown = false;
};

constexpr const char* none = "none";

/// The device that was asked for; throws when it is not there.
std::optional<platform::CaptureDevice> chosenDevice(const std::optional<std::string>& asked,
                                                    const std::vector<platform::CaptureDevice>& devices,
                                                    const std::optional<platform::CaptureDevice>& otherwise,
                                                    const std::string& kind) {
    if (!asked) return otherwise;
    if (*asked == none) return std::nullopt;
    for (const auto& device : devices)
        if (device.uniqueID == *asked) return device;
    throw CommandError("there is no " + kind + " " + *asked + "; `cobaltreel sources` lists them");
}

std::shared_ptr<platform::CaptureService> chooseDevices(const RecordArguments& arguments,
                                                        const platform::PlatformServices& host) {
    const auto devices = host.capture->devices();
    const auto firstCamera = devices.cameras.empty() ? std::nullopt : std::optional(devices.cameras.front());
    const auto camera = chosenDevice(arguments.camera, devices.cameras, firstCamera, "camera");
    const auto microphone =
        chosenDevice(arguments.microphone, devices.microphones, devices.defaultMicrophone, "microphone");
    if (const auto reason = host.capture->unavailable(); reason && arguments.systemAudio)
        throw CommandError("system audio cannot be recorded: " + reason->description());
    return std::make_shared<ChosenDevices>(host.capture, camera, microphone);
}

/// Throws when what is to be recorded is not there.
void requireContent(const RecordArguments& arguments, platform::ScreenCaptureService& screenCapture) {
    const auto content = screenCapture.shareableContent();
    if (arguments.windowID) {
        const auto window =
            std::ranges::find(content.windows, *arguments.windowID, &platform::Window::windowID);
        const std::string name = std::to_string(*arguments.windowID);
        if (window == content.windows.end())
            throw CommandError("there is no window " + name + "; `cobaltreel sources` lists them");
        if (!window->isOnScreen) throw CommandError("window " + name + " is hidden; bring it to the screen");
        return;
    }
    if (content.displays.empty()) throw CommandError("there is no display to record");
    if (arguments.displayID && std::ranges::find(content.displays, *arguments.displayID,
                                                 &platform::Display::displayID) == content.displays.end())
        throw CommandError("there is no display " + std::to_string(*arguments.displayID) +
                           "; `cobaltreel sources` lists them");
}

RecordingServices servicesFor(const RecordArguments& arguments, const platform::PlatformServices& host,
                              std::shared_ptr<TerminalAlerts> alerts) {
    RecordingServices services(host);
    services.capture = chooseDevices(arguments, host);
    services.deviceAccess = std::make_shared<ConsentByCommand>();
    // What is said on the command line is meant for this once.
    services.defaults = std::make_shared<platform::InMemoryUserDefaults>();
    services.bubble = std::make_shared<NoBubble>();
    services.windows = std::make_shared<NoWindows>();
    services.alerts = std::move(alerts);
    if (arguments.countdown && host.keys)
        services.countdown =
            std::make_shared<Countdown>(host.mainLoop, host.keys, CountdownWindow::factory(host.compositor));
    else
        services.countdown = std::make_shared<NoCountdown>(host.mainLoop);
    return services;
}

QCoro::Task<void> choose(const RecordArguments& arguments, RecordingCoordinator& coordinator) {
    coordinator.setMode(arguments.windowID ? CaptureMode::window : CaptureMode::display);
    coordinator.setSelectedDisplayID(arguments.displayID);
    coordinator.setSelectedWindowID(arguments.windowID);
    coordinator.setSystemAudioEnabled(arguments.systemAudio);
    coordinator.setAutoZoomEnabled(arguments.autoZoom);
    coordinator.setCameraCorner(arguments.corner);
    coordinator.setBubbleSizeFraction(arguments.bubbleSizeFraction);
    coordinator.setCameraStyle(arguments.style);
    coordinator.setMirrorCamera(!arguments.noMirror);
    // A window that closes meanwhile is not replaced by the whole display.
    if (!arguments.windowID) co_await coordinator.refreshContent();
    coordinator.refreshDevices();
}

/// "0:07  microphone [####......]"
std::string recordingLine(double elapsed, const RecordingCoordinator& coordinator) {
    std::string line = minutesAndSeconds(elapsed);
    if (coordinator.selectedMic()) {
        constexpr int width = 20;
        const int filled = static_cast<int>(coordinator.cameraMic().currentMicLevel() * width);
        line += "  microphone [" + std::string(static_cast<std::size_t>(filled), '#') +
                std::string(static_cast<std::size_t>(width - filled), '.') + "]";
    }
    return line + "  Ctrl-C stops";
}

/// One recording from its first step to the last file; ends the event loop.
QCoro::Task<void> record(const RecordArguments& arguments, RecordingCoordinator& coordinator,
                         platform::MainLoop& mainLoop, const Interrupt& interrupt) {
    co_await choose(arguments, coordinator);
    std::unique_ptr<platform::Timer> atDuration;
    QObject::connect(&coordinator, &RecordingCoordinator::stateChanged, &coordinator, [&] {
        if (coordinator.state() == State::recording && arguments.duration)
            atDuration = mainLoop.scheduleOnce(*arguments.duration, [&] { coordinator.stopRecording(); });
    });
    if (!interrupt.happened()) {
        coordinator.startCameraPreview();
        coordinator.toggle();
        co_await coordinator.untilIdle();
    }
    co_await coordinator.finishBeforeQuit();
    QCoreApplication::quit();
}

/// Says what became of a recording that has ended.
ExitStatus report(const RecordArguments& arguments, const RecordingCoordinator& coordinator,
                  const TerminalAlerts& alerts, const Interrupt& interrupt,
                  platform::ScreenCaptureService& screenCapture) {
    if (!coordinator.session()) {
        if (alerts.text()) throw CommandError(*alerts.text());
        if (!interrupt.happened()) requireContent(arguments, screenCapture);
        throw CommandError("stopped before the recording began", ExitStatus::interrupted);
    }
    const SessionFolder& session = *coordinator.session();
    const std::string& reason = coordinator.endReason();
    if (!coordinator.meta()->screenFirstPTS) {
        const std::string why = reason.empty() ? std::string() : ": " + reason;
        if (coordinator.meta()->cameraFirstPTS)
            throw CommandError("the screen gave no picture" + why + "; " + session.cameraMovie().string() +
                               " holds what came from the camera and the microphone");
        session.remove();
        throw CommandError("the screen gave no picture; nothing was recorded" + why);
    }
    if (!reason.empty()) std::cerr << "cobaltreel: " << reason << '\n';
    const auto frames = coordinator.screen().statistics();
    if (frames.dropped > 0)
        std::cerr << "cobaltreel: " << frames.dropped << " of " << frames.offered
                  << " frames were dropped because the encoder was behind\n";
    std::error_code ignored;
    if (std::filesystem::exists(session.screenMovie(), ignored)) std::cout << session.dir.string() << '\n';
    // What there is of it can be opened and exported; a script that waits for the whole take must know.
    return coordinator.endedByFailure() ? ExitStatus::failed : ExitStatus::done;
}

/// Lets other commands, and a key, reach a recording that a terminal makes.
class RemoteControl {
  public:
    RemoteControl(const platform::PlatformServices& host, RecordingCoordinator& coordinator)
        : markKey_(host.keys, HotkeyManager::markChord),
          instance_(platform::PlatformServices::instance(terminalRecordingName, host.mainLoop)) {
        try {
            claim_ = instance_->claim([&coordinator](const platform::InstanceRequest& request) {
                return InstanceAnswers::answer(request, coordinator, false);
            });
        } catch (const platform::PlatformError&) {
            // It records all the same.
        }
        // A portal would ask the user about the key.
        if (host.session.type == platform::SessionType::wayland) return;
        markKey_.onPress = [&coordinator] { coordinator.mark({}); };
        QObject::connect(&coordinator, &RecordingCoordinator::stateChanged, &coordinator,
                         [this, &coordinator] {
                             if (coordinator.state() == State::recording)
                                 markKey_.registerChord();
                             else
                                 markKey_.releaseChord();
                         });
    }

  private:
    HotkeyManager markKey_;
    std::shared_ptr<platform::SingleInstance> instance_;
    std::unique_ptr<platform::InstanceClaim> claim_;
};

ExitStatus runRecord(const RecordArguments& arguments, Interrupt& interrupt) {
    const auto host = hostServices();
    AppSettings::shared();  // its language is that of the messages
    const auto alerts = std::make_shared<TerminalAlerts>();
    auto services = servicesFor(arguments, host, alerts);
    requireContent(arguments, *host.screenCapture);
    RecordingCoordinator coordinator(std::move(services));

    Progress progress("Recording");
    std::unique_ptr<platform::Timer> meter;
    QObject::connect(&coordinator, &RecordingCoordinator::deviceMessage,
                     [](const QString&, const QString& details) {
                         std::cerr << "cobaltreel: " << details.toStdString() << '\n';
                     });
    QObject::connect(&coordinator, &RecordingCoordinator::elapsedChanged, &coordinator, [&] {
        // From the first second on the line lives; between the seconds it is the microphone's level that
        // moves.
        const double begun = host.clock->now() - coordinator.elapsed();
        meter = host.mainLoop->scheduleRepeating(
            0.1, [&, begun] { progress.status(recordingLine(host.clock->now() - begun, coordinator)); });
    });
    const RemoteControl remote(host, coordinator);
    const auto handling =
        interrupt.handle([&] { host.mainLoop->post([&coordinator] { coordinator.finishBeforeQuit(); }); });

    std::optional<QCoro::Task<void>> recording;
    host.mainLoop->post(
        [&] { recording.emplace(record(arguments, coordinator, *host.mainLoop, interrupt)); });
    QCoreApplication::exec();
    meter.reset();
    return report(arguments, coordinator, *alerts, interrupt, *host.screenCapture);
}

}  // namespace

void addRecordCommand(CLI::App& app, CommandBody& body) {
    auto* command =
        app.add_subcommand("record", "Record until the duration or Ctrl-C; prints the session folder");
    auto arguments = std::make_shared<RecordArguments>();
    RecordArguments& take = *arguments;
    auto* display =
        command->add_option("--display", take.displayID, "Record this display; default the main one")
            ->type_name("N");
    command->add_option("--window", take.windowID, "Record this window")->type_name("ID")->excludes(display);
    command->add_option("--duration", take.duration, "Stop after so many seconds")
        ->type_name("S")
        ->check(numberBetween(0.1, RecordingCoordinator::longestRecording));
    command->add_option("--camera", arguments->camera, "Camera to record; default the first one there is")
        ->type_name("ID|none");
    command->add_option("--mic", arguments->microphone, "Microphone to record; default the desktop's")
        ->type_name("ID|none");
    command->add_flag("--system-audio", take.systemAudio, "Record what the computer plays");
    command->add_flag("--auto-zoom", take.autoZoom, "Let the export follow the clicks");
    static const std::map<std::string, CameraCorner> corners{{"bottomLeft", CameraCorner::bottomLeft},
                                                             {"bottomRight", CameraCorner::bottomRight},
                                                             {"topLeft", CameraCorner::topLeft},
                                                             {"topRight", CameraCorner::topRight}};
    command->add_option("--corner", take.corner, "bottomLeft, bottomRight, topLeft or topRight")
        ->transform(oneOf(corners))
        ->type_name("CORNER")
        ->default_str("bottomLeft");
    command
        ->add_option("--bubble-size", take.bubbleSizeFraction, "Size of the camera as a share of the height")
        ->type_name("F")
        ->check(numberBetween(0.05, 1))
        ->default_str("0.24");
    static const std::map<std::string, CameraStyle> styles{{"bubble", CameraStyle::bubble},
                                                           {"cutout", CameraStyle::cutout}};
    command->add_option("--style", take.style, "How the camera is shown")
        ->transform(oneOf(styles))
        ->type_name("bubble|cutout")
        ->default_str("bubble");
    command->add_flag("--no-mirror", arguments->noMirror, "Record the camera as it sees, not mirrored");
    command->add_flag("--countdown", arguments->countdown,
                      "Count 3-2-1 over the screen before recording; Escape cancels");
    command->callback([&body, arguments] {
        if (arguments->countdown) body.windows = CommandBody::Windows::onScreen;
        // Made here, before the application starts threads.
        body.run = [arguments, interrupt = std::make_shared<Interrupt>()] {
            return runRecord(*arguments, *interrupt);
        };
    });
}

}  // namespace cobaltreel

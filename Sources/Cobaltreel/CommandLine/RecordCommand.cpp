#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/HostServices.hpp"
#include "Cobaltreel/CommandLine/Interrupt.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/Take.hpp"
#include "Cobaltreel/UI/CountdownWindow/CountdownWindow.hpp"

#include <QCoreApplication>
#include <exception>
#include <iostream>
#include <map>
#include <memory>

namespace cobaltreel {

namespace {

struct RecordArguments {
    TakeOptions take;
    std::optional<std::string> camera;      // absent: the first one, when there is one
    std::optional<std::string> microphone;  // absent: the default one, when there is one
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

void chooseDevices(const RecordArguments& arguments, platform::CaptureService& capture, TakeOptions& take) {
    const auto devices = capture.devices();
    const auto firstCamera = devices.cameras.empty() ? std::nullopt : std::optional(devices.cameras.front());
    take.camera = chosenDevice(arguments.camera, devices.cameras, firstCamera, "camera");
    take.microphone =
        chosenDevice(arguments.microphone, devices.microphones, devices.defaultMicrophone, "microphone");
    take.mirrorCamera = !arguments.noMirror;
    if (const auto reason = capture.unavailable(); reason && take.systemAudio)
        throw CommandError("system audio cannot be recorded: " + reason->description());
}

/// "0:07  microphone [####......]"
std::string recordingLine(double elapsed, const Take& take, bool hasMicrophone) {
    std::string line = minutesAndSeconds(elapsed);
    if (hasMicrophone) {
        constexpr int width = 20;
        const int filled = static_cast<int>(take.microphoneLevel() * width);
        line += "  microphone [" + std::string(static_cast<std::size_t>(filled), '#') +
                std::string(static_cast<std::size_t>(width - filled), '.') + "]";
    }
    return line + "  Ctrl-C stops";
}

/// Runs the take on the main thread's event loop and keeps what came of it.
struct Outcome {
    std::optional<SessionFolder> session;
    std::exception_ptr failure;
};

QCoro::Task<void> follow(Take& take, Outcome& outcome) {
    try {
        outcome.session = co_await take.run();
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    QCoreApplication::quit();
}

ExitStatus runRecord(const RecordArguments& arguments, Interrupt& interrupt) {
    const auto services = hostServices();
    TakeOptions options = arguments.take;
    chooseDevices(arguments, *services.capture, options);
    Take take(services, options);
    Progress progress("Recording");
    std::unique_ptr<Countdown> countdown;
    if (arguments.countdown && services.keys) {
        countdown = std::make_unique<Countdown>(services.mainLoop, services.keys,
                                                CountdownWindow::factory(services.compositor));
        take.countdown = [&countdown](auto onCancel, auto onDone) { countdown->run(onCancel, onDone); };
    }
    take.onDeviceMessage = [](const std::string& message) { std::cerr << "cobaltreel: " << message << '\n'; };
    std::unique_ptr<platform::Timer> meter;
    take.onElapsed = [&](double elapsed) {
        // From the first second on the line lives; between the seconds it is the microphone's level that
        // moves.
        const double begun = services.clock->now() - elapsed;
        meter = services.mainLoop->scheduleRepeating(0.1, [&, begun] {
            progress.status(
                recordingLine(services.clock->now() - begun, take, options.microphone.has_value()));
        });
    };
    const auto handling = interrupt.handle([&] { services.mainLoop->post([&take] { take.requestStop(); }); });

    Outcome outcome;
    services.mainLoop->post([&] { follow(take, outcome); });
    QCoreApplication::exec();
    countdown.reset();

    if (outcome.failure) std::rethrow_exception(outcome.failure);
    if (!outcome.session) throw CommandError("stopped before the recording began", ExitStatus::interrupted);
    if (!take.endReason().empty()) std::cerr << "cobaltreel: " << take.endReason() << '\n';
    const auto frames = take.statistics();
    if (frames.dropped > 0)
        std::cerr << "cobaltreel: " << frames.dropped << " of " << frames.offered
                  << " frames were dropped because the encoder was behind\n";
    std::cout << outcome.session->dir.string() << '\n';
    return ExitStatus::done;
}

}  // namespace

void addRecordCommand(CLI::App& app, CommandBody& body) {
    auto* command =
        app.add_subcommand("record", "Record until the duration or Ctrl-C; prints the session folder");
    auto arguments = std::make_shared<RecordArguments>();
    TakeOptions& take = arguments->take;
    auto* display =
        command->add_option("--display", take.displayID, "Record this display; default the main one")
            ->type_name("N");
    command->add_option("--window", take.windowID, "Record this window")->type_name("ID")->excludes(display);
    command->add_option("--duration", take.duration, "Stop after so many seconds")
        ->type_name("S")
        ->check(numberBetween(0.1, Take::longestTake));
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
        ->transform(CLI::CheckedTransformer(corners).description(""))
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
        ->transform(CLI::CheckedTransformer(styles).description(""))
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

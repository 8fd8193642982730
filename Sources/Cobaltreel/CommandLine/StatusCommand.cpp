#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/JsonOutput.hpp"
#include "Cobaltreel/CommandLine/Progress.hpp"
#include "Cobaltreel/CommandLine/RunningInstance.hpp"

#include <iostream>
#include <memory>
#include <string>

namespace cobaltreel {

namespace {

/// What is recorded outweighs what stands ready.
OrderedJson currentStatus() {
    OrderedJson status{{"state", "notRunning"}, {"exporting", false}};
    for (const auto& answer : queryRunning({platform::InstanceRequest::Kind::status})) {
        const bool isExporting = status["exporting"].get<bool>() || answer.value("exporting", false);
        if (status["state"] != "recording")
            for (const char* key : {"state", "elapsed", "markers", "session"})
                if (answer.contains(key)) status[key] = answer[key];
        status["exporting"] = isExporting;
    }
    return status;
}

std::string sentence(const OrderedJson& status) {
    const std::string state = status["state"];
    std::string text = state == "notRunning"  ? "not running"
                       : state == "countdown" ? "counting down"
                       : state == "recording" ? "recording " + minutesAndSeconds(status.value("elapsed", 0.0))
                                              : "idle";
    if (const int markers = status.value("markers", 0); markers > 0)
        text += ", " + std::to_string(markers) + (markers == 1 ? " marker" : " markers");
    return text + (status["exporting"] ? ", exporting" : "");
}

ExitStatus runStatus(bool json) {
    const OrderedJson status = currentStatus();
    if (json)
        printJson(status);
    else
        std::cout << sentence(status) << '\n';
    if (status["state"] == "recording") return ExitStatus::done;
    return status["state"] == "notRunning" ? ExitStatus::notRunning : ExitStatus::notRecording;
}

}  // namespace

void addStatusCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand("status", "Tell what the application that runs is doing");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "One JSON document");
    command->footer(
        "Exit status: 0 a recording runs, 3 none does, 4 the application does not run, 1 failed.");
    command->callback([&body, json] { body.run = [json] { return runStatus(*json); }; });
}

}  // namespace cobaltreel

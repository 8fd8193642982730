#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/RunningInstance.hpp"

namespace cobaltreel {

void addToggleCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand(
        "toggle", "Press the button of the application that runs: it starts or stops a recording");
    command->callback([&body] {
        body.run = [] {
            if (!runningApplication()->send({platform::InstanceRequest::Kind::toggle}))
                throw CommandError("the application does not run; start it with: cobaltreel");
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel

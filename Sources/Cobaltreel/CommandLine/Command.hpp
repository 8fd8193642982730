#pragma once

#include "Cobaltreel/CommandLine/CommandLine.hpp"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

namespace cobaltreel {

/// A command that cannot go on: the message names the file or the value and the remedy.
class CommandError : public std::runtime_error {
  public:
    explicit CommandError(const std::string& message, ExitStatus status = ExitStatus::failed)
        : std::runtime_error(message), status_(status) {}
    ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

/// A check for an option that takes a number from `least` to `most`; not a number is none.
CLI::Validator numberBetween(double least, double most);

/// A check for an option that takes one of a few words, each of which stands for a value.
template <typename Value>
CLI::Validator oneOf(const std::map<std::string, Value>& choices) {
    return CLI::Validator(
        [choices](std::string& text) {
            const auto chosen = choices.find(text);
            std::string words;
            for (const auto& [word, value] : choices) words += (words.empty() ? "" : ", ") + word;
            if (chosen == choices.end()) return text + " is none of " + words;
            text = std::to_string(static_cast<int>(chosen->second));
            return std::string();
        },
        "");
}

/// What the chosen subcommand will do once the arguments have been understood.
struct CommandBody {
    /// Whether it needs a display or none (an event loop is enough). The application needs a display and says
    /// so, the others leave that to what they use.
    enum class Windows { none, onScreen, application };

    std::function<ExitStatus()> run;
    Windows windows = Windows::none;
};

// Each of these adds one subcommand to `app` and, when it is chosen, fills `body`.
void addSourcesCommand(CLI::App& app, CommandBody& body);
void addRecordCommand(CLI::App& app, CommandBody& body);
void addSessionsCommand(CLI::App& app, CommandBody& body);
void addInspectCommand(CLI::App& app, CommandBody& body);
void addExportCommand(CLI::App& app, CommandBody& body);
void addOpenCommand(CLI::App& app, CommandBody& body);
void addToggleCommand(CLI::App& app, CommandBody& body);
void addMarkCommand(CLI::App& app, CommandBody& body);
void addStatusCommand(CLI::App& app, CommandBody& body);
void addDoctorCommand(CLI::App& app, CommandBody& body);
void addCompletionCommand(CLI::App& app, CommandBody& body);

/// What happens when no subcommand was chosen: the application itself.
void chooseApplication(CommandBody& body);

}  // namespace cobaltreel

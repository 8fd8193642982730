#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/CommandLine/RunningInstance.hpp"
#include "Cobaltreel/Support/MarkerText.hpp"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace cobaltreel {

namespace {

ExitStatus runMark(const std::vector<std::string>& words) {
    QString text;
    for (const auto& word : words) text += (text.isEmpty() ? "" : " ") + QString::fromStdString(word);
    const std::string cleaned = MarkerText::cleaned(text).toStdString();
    const auto answers = queryRunning({platform::InstanceRequest::Kind::mark, cleaned});
    for (const auto& answer : answers) {
        if (answer.value("marked", false)) {
            std::cout << "marker " << answer.value("number", 0) << (cleaned.empty() ? "" : ": ") << cleaned
                      << '\n';
            return ExitStatus::done;
        }
        if (answer.value("reason", "") == "tooMany")
            throw CommandError("the recording has as many markers as it can hold; this one was not set");
        if (answer.value("reason", "") == "ending")
            throw CommandError("the recording is just being completed; this marker was not set");
    }
    if (answers.empty())
        throw CommandError(
            "nothing is being recorded: the application does not run; start it with: cobaltreel");
    throw CommandError("nothing is being recorded; start a recording first");
}

}  // namespace

void addMarkCommand(CLI::App& app, CommandBody& body) {
    auto* command = app.add_subcommand(
        "mark", "Mark this moment of the recording that runs; exports carry the markers as chapters");
    auto words = std::make_shared<std::vector<std::string>>();
    command->add_option("text", *words, "What the moment is about; of a longer text the first 200 characters")
        ->type_name("TEXT");
    command->callback([&body, words] { body.run = [words] { return runMark(*words); }; });
}

}  // namespace cobaltreel

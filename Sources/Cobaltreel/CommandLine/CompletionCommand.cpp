#include "Cobaltreel/CommandLine/Command.hpp"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace cobaltreel {

namespace {

/// What of an option or a positional argument a shell can complete.
struct Word {
    enum class Value { none, unknown, words, file, session };

    std::string name;  // with its dashes; empty for a positional argument
    std::string meaning;
    Value value = Value::none;
    std::vector<std::string> words{};
};

struct Subcommand {
    std::string name;
    std::string meaning;
    std::vector<Word> options{};
    std::vector<Word> arguments{};
};

/// The words that a type's name lists: "on|off", or the "none" of "ID|none".
std::vector<std::string> wordsOf(const std::string& type) {
    std::vector<std::string> words;
    std::istringstream parts(type);
    for (std::string part; std::getline(parts, part, '|');)
        if (type.find('|') != type.npos && !part.empty() && std::islower(static_cast<unsigned char>(part[0])))
            words.push_back(part);
    return words;
}

Word wordOf(const CLI::Option& option) {
    Word word{option.get_lnames().empty() ? "" : "--" + option.get_lnames().front(),
              option.get_description()};
    if (option.get_items_expected_max() == 0) return word;
    const std::string type = option.get_type_name();
    word.words = wordsOf(type);
    word.value = type == "FILE"       ? Word::Value::file
                 : type == "SESSION"  ? Word::Value::session
                 : word.words.empty() ? Word::Value::unknown
                                      : Word::Value::words;
    return word;
}

Subcommand describe(const CLI::App& app) {
    Subcommand described{app.get_name(), app.get_description()};
    for (const CLI::Option* option : app.get_options()) {
        Word word = wordOf(*option);
        auto& list = word.name.empty() ? described.arguments : described.options;
        list.push_back(std::move(word));
    }
    return described;
}

std::vector<Subcommand> describeAll(const CLI::App& app) {
    std::vector<Subcommand> commands;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back(describe(*command));
    return commands;
}

bool takesSession(const Subcommand& command) {
    return std::ranges::any_of(command.arguments,
                               [](const Word& word) { return word.value == Word::Value::session; });
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string namesOf(const std::vector<Word>& options) {
    std::string text;
    for (const Word& option : options) text += (text.empty() ? "" : " ") + option.name;
    return text;
}

std::string namesOf(const std::vector<Subcommand>& commands) {
    std::string text;
    for (const Subcommand& command : commands) text += (text.empty() ? "" : " ") + command.name;
    return text;
}

/// `text` with a backslash before each of `characters`.
std::string escaped(const std::string& text, std::string_view characters) {
    std::string result;
    for (const char character : text) {
        if (characters.find(character) != characters.npos) result += '\\';
        result += character;
    }
    return result;
}

/// Inside single quotes of a POSIX shell.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text)
        if (character == '\'')
            result += "'\\''";
        else
            result += character;
    return result + "'";
}

constexpr const char* sessionsFolder = "\"${XDG_DATA_HOME:-$HOME/.local/share}/Cobaltreel/sessions\"";

void printBash(const Subcommand& program, const std::vector<Subcommand>& commands) {
    std::cout << "# bash completion for cobaltreel\n_cobaltreel() {\n"
                 "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words=\n"
                 "    COMPREPLY=()\n"
                 "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                 "        COMPREPLY=($(compgen -W \""
              << namesOf(commands) << ' ' << namesOf(program.options)
              << "\" -- \"$current\"))\n        return\n    fi\n"
                 "    case ${COMP_WORDS[1]}:$previous in\n";
    for (const Subcommand& command : commands)
        for (const Word& option : command.options) {
            if (option.value == Word::Value::none) continue;
            std::cout << "    " << command.name << ':' << option.name << ")\n";
            if (option.value == Word::Value::words)
                std::cout << "        COMPREPLY=($(compgen -W \"" << joined(option.words)
                          << "\" -- \"$current\"))\n";
            if (option.value == Word::Value::file)
                std::cout << "        compopt -o filenames\n        mapfile -t COMPREPLY < <(compgen -f -- "
                             "\"$current\")\n";
            std::cout << "        return ;;\n";
        }
    std::cout << "    esac\n    case ${COMP_WORDS[1]} in\n";
    for (const Subcommand& command : commands) {
        std::cout << "    " << command.name << ") words=\"" << namesOf(command.options);
        for (const Word& argument : command.arguments)
            if (!argument.words.empty()) std::cout << ' ' << joined(argument.words);
        std::cout << '"';
        if (takesSession(command))
            // A folder's name is a word as it is, never code to be expanded.
            std::cout << "\n        if [[ $current != -* ]]; then\n            local name\n"
                         "            compopt -o filenames\n            while IFS= read -r name; do\n"
                         "                [[ $name == \"$current\"* ]] && COMPREPLY+=(\"$name\")\n"
                         "            done < <(ls "
                      << sessionsFolder << " 2>/dev/null)\n            return\n        fi";
        std::cout << " ;;\n";
    }
    std::cout << "    esac\n    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n}\n"
                 "complete -F _cobaltreel cobaltreel\n";
}

std::string zshValue(const Word& word) {
    switch (word.value) {
        case Word::Value::none:
            return {};
        case Word::Value::unknown:
            return ":value:";
        case Word::Value::words:
            return ":value:(" + joined(word.words) + ")";
        case Word::Value::file:
            return ":file:_files";
        case Word::Value::session:
            return ":session:($(ls " + std::string(sessionsFolder) + " 2>/dev/null))";
    }
    return {};
}

void printZsh(const Subcommand& program, const std::vector<Subcommand>& commands) {
    std::cout << "#compdef cobaltreel\n_cobaltreel() {\n    if (( CURRENT == 2 )); then\n"
                 "        local -a commands=(\n";
    for (const Subcommand& command : commands)
        std::cout << "            " << quoted(command.name + ':' + escaped(command.meaning, ":\\")) << '\n';
    std::cout << "        )\n        _describe command commands\n        _arguments";
    const auto printOptions = [](const std::vector<Word>& options) {
        for (const Word& option : options)
            std::cout << " \\\n            "
                      << quoted(option.name + '[' + escaped(option.meaning, "[]:\\") + ']' +
                                zshValue(option));
    };
    printOptions(program.options);
    std::cout
        << "\n        return\n    fi\n    local command=$words[2]\n    shift words\n    (( CURRENT-- ))\n"
           "    case $command in\n";
    for (const Subcommand& command : commands) {
        std::cout << "    " << command.name << ")\n        _arguments";
        printOptions(command.options);
        for (const Word& argument : command.arguments)
            std::cout << " \\\n            " << quoted("*" + zshValue(argument));
        std::cout << " ;;\n";
    }
    std::cout << "    esac\n}\n_cobaltreel \"$@\"\n";
}

void printFish(const Subcommand& program, const std::vector<Subcommand>& commands) {
    const auto option = [](const std::string& condition, const Word& word) {
        std::cout << "complete -c cobaltreel -n " << quoted(condition) << " -l " << word.name.substr(2);
        if (word.value == Word::Value::words) std::cout << " -x -a " << quoted(joined(word.words));
        if (word.value == Word::Value::unknown) std::cout << " -x";
        if (word.value == Word::Value::file) std::cout << " -r -F";
        std::cout << " -d '" << escaped(word.meaning, "'\\") << "'\n";
    };
    std::cout
        << "# fish completion for cobaltreel\nfunction __cobaltreel_sessions\n"
           "    set -l data \"$XDG_DATA_HOME\"\n    test -n \"$data\"; or set data \"$HOME/.local/share\"\n"
           "    command ls \"$data/Cobaltreel/sessions\" 2>/dev/null\nend\n"
           "complete -c cobaltreel -f\n";
    for (const Word& word : program.options) option("__fish_use_subcommand", word);
    for (const Subcommand& command : commands) {
        std::cout << "complete -c cobaltreel -n __fish_use_subcommand -a " << command.name << " -d '"
                  << escaped(command.meaning, "'\\") << "'\n";
        const std::string condition = "__fish_seen_subcommand_from " + command.name;
        for (const Word& word : command.options) option(condition, word);
        for (const Word& word : command.arguments)
            if (!word.words.empty())
                std::cout << "complete -c cobaltreel -n " << quoted(condition) << " -a "
                          << quoted(joined(word.words)) << '\n';
        if (takesSession(command))
            std::cout << "complete -c cobaltreel -n " << quoted(condition)
                      << " -a '(__cobaltreel_sessions)'\n";
    }
}

}  // namespace

void addCompletionCommand(CLI::App& app, CommandBody& body) {
    auto* command =
        app.add_subcommand("completion", "Print what a shell completes commands and options with");
    auto shell = std::make_shared<std::string>();
    command->add_option("shell", *shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->type_name("bash|zsh|fish");
    command->callback([&app, &body, shell] {
        body.run = [&app, shell] {
            const auto commands = describeAll(app);
            const auto program = describe(app);
            if (*shell == "bash") printBash(program, commands);
            if (*shell == "zsh") printZsh(program, commands);
            if (*shell == "fish") printFish(program, commands);
            return ExitStatus::done;
        };
    });
}

}  // namespace cobaltreel

#pragma once

#include "Rig/ChildProcess.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <csignal>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace cobaltreel {

/// A program that runs beside the test; killed if it is still there at the end.
class Program {
  public:
    struct Result {
        int status;  ///< exit status; 128 + the signal's number when one ended it
        std::string out;
        std::string err;
    };

    /// Runs with the test's environment, but for the variables named in `without`.
    explicit Program(const std::vector<std::string>& command, const std::vector<std::string>& without = {})
        : process_(wrapped(command, without)) {}
    ~Program() { process_.end(SIGKILL); }

    void signal(int number) const {
        if (process_.id() > 0) kill(process_.id(), number);
    }
    /// Reads what the program says until `enough` is content or it has ended; false when neither comes.
    template <typename Enough>
    bool readUntil(Enough enough) {
        return platform::eventually([&] {
            const bool hasEnded = process_.hasEnded();
            said_.out = contents("out");
            said_.err = contents("err");
            return enough(said_) || hasEnded;
        });
    }
    Result finish() {
        EXPECT_TRUE(readUntil([](const Result&) { return false; })) << "the program did not end";
        process_.end(SIGKILL);
        said_.status = process_.status();
        return said_;
    }

  private:
    std::vector<std::string> wrapped(const std::vector<std::string>& command,
                                     const std::vector<std::string>& without) const {
        std::vector<std::string> words{"env"};
        for (const auto& name : without) words.insert(words.end(), {"-u", name});
        words.insert(words.end(), {"sh", "-c", R"(exec "$@" >"$0/out" 2>"$0/err")", folder_.path()});
        words.insert(words.end(), command.begin(), command.end());
        return words;
    }
    std::string contents(const char* name) const {
        std::ifstream file(folder_ / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    rig::TemporaryFolder folder_;
    rig::ChildProcess process_;
    Result said_{};
};

/// The program under test.
inline std::vector<std::string> cobaltreel(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), COBALTREEL_PROGRAM);
    return arguments;
}
inline Program::Result run(std::vector<std::string> arguments) {
    return Program(cobaltreel(std::move(arguments))).finish();
}
inline std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace cobaltreel

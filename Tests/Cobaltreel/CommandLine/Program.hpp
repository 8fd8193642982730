#pragma once

#include "Rig/Eventually.hpp"

#include <QProcess>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>

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
    explicit Program(const std::vector<std::string>& command, const std::vector<std::string>& without = {}) {
        QStringList words;
        for (const auto& word : command) words.append(QString::fromStdString(word));
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const auto& name : without) environment.remove(QString::fromStdString(name));
        process_.setProcessEnvironment(environment);
        process_.start(words.front(), words.mid(1));
        EXPECT_TRUE(process_.waitForStarted()) << command.front();
    }
    ~Program() {
        process_.kill();
        process_.waitForFinished();
    }

    void signal(int number) const {
        // Of one that has ended the id is 0, which would mean this process and all around it.
        if (const auto id = static_cast<pid_t>(process_.processId()); id > 0) kill(id, number);
    }

    /// Reads what the program says until `enough` is content or it has ended; false when neither comes.
    template <typename Enough>
    bool readUntil(Enough enough) {
        const auto isOver = [&] { return enough(said_) || process_.state() == QProcess::NotRunning; };
        return platform::eventually(isOver, [this] {
            process_.waitForReadyRead(20);
            said_.out += process_.readAllStandardOutput().toStdString();
            said_.err += process_.readAllStandardError().toStdString();
        });
    }
    Result finish() {
        EXPECT_TRUE(readUntil([](const Result&) { return false; })) << "the program did not end";
        process_.kill();
        process_.waitForFinished();
        said_.status = process_.exitCode() + (process_.exitStatus() == QProcess::CrashExit ? 128 : 0);
        return said_;
    }

  private:
    QProcess process_;
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

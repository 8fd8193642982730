#pragma once

#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cobaltreel {

/// A program that runs beside the test; ended by id if it is still there at the end.
class Program {
  public:
    struct Result {
        int status;  ///< exit status; 128 + the signal's number when one ended it
        std::string out;
        std::string err;
    };

    explicit Program(std::vector<std::string> command, const std::vector<std::string>& without = {}) {
        std::array<int, 2> out{}, err{};
        if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) std::abort();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
        std::vector<char*> arguments, environment;
        for (auto& word : command) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        for (char** entry = environ; *entry; ++entry) {
            const std::string name = std::string(*entry).substr(0, std::string(*entry).find('='));
            if (std::find(without.begin(), without.end(), name) == without.end())
                environment.push_back(*entry);
        }
        environment.push_back(nullptr);
        const int failed =
            posix_spawnp(&id_, arguments[0], &actions, nullptr, arguments.data(), environment.data());
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        close(err[1]);
        out_ = out[0];
        err_ = err[0];
        if (failed != 0) id_ = 0;
    }
    ~Program() {
        if (id_ != 0) {
            kill(id_, SIGKILL);
            waitpid(id_, nullptr, 0);
        }
        close(out_);
        close(err_);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const { kill(id_, number); }

    /// Reads what the program says until `enough` is content or it has ended; false when half a minute
    /// passes.
    bool readUntil(const std::function<bool(const Result&)>& enough) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!enough(said_)) {
            std::array<pollfd, 2> streams{pollfd{out_, POLLIN, 0}, pollfd{err_, POLLIN, 0}};
            if (outEnded_) streams[0].fd = -1;
            if (errEnded_) streams[1].fd = -1;
            if (outEnded_ && errEnded_) return true;
            if (std::chrono::steady_clock::now() > deadline) return false;
            poll(streams.data(), streams.size(), 100);
            take(streams[0], said_.out, outEnded_);
            take(streams[1], said_.err, errEnded_);
        }
        return true;
    }
    Result finish() {
        if (!readUntil([](const Result&) { return false; })) {
            ADD_FAILURE() << "the program did not end";
            kill(id_, SIGKILL);
        }
        int status = 0;
        waitpid(id_, &status, 0);
        id_ = 0;
        said_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return said_;
    }

  private:
    static void take(const pollfd& stream, std::string& text, bool& ended) {
        if ((stream.revents & (POLLIN | POLLHUP | POLLERR)) == 0) return;
        std::array<char, 4096> block{};
        const ssize_t count = read(stream.fd, block.data(), block.size());
        if (count > 0)
            text.append(block.data(), static_cast<std::size_t>(count));
        else
            ended = true;
    }

    pid_t id_ = 0;
    int out_ = -1, err_ = -1;
    bool outEnded_ = false, errEnded_ = false;
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

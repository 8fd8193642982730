#pragma once

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace rig {

/// A program of the rig that runs beside the test and ends with it.
class ChildProcess {
  public:
    /// The descriptor named by `readyFd` (in the child) is a pipe that `readLine` reads.
    explicit ChildProcess(const std::vector<std::string>& command, int readyFd = 1) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe");
        std::vector<char*> words;
        for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        process_ = fork();
        if (process_ == 0) {
            close(ends[0]);
            if (ends[1] != readyFd) {
                dup2(ends[1], readyFd);
                close(ends[1]);
            }
            execvp(words[0], words.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = ends[0];
        fcntl(output_, F_SETFD, FD_CLOEXEC);
    }
    ~ChildProcess() {
        end(SIGTERM);
        close(output_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The next line it prints; empty when none comes within the limit or it has ended.
    std::string readLine(int limitMs = 10000) {
        std::string line;
        for (;;) {
            pollfd waiting{output_, POLLIN, 0};
            char letter = 0;
            if (poll(&waiting, 1, limitMs) <= 0 || read(output_, &letter, 1) != 1 || letter == '\n')
                return line;
            line += letter;
        }
    }

    /// Ends it and waits for it.
    void end(int signal) {
        if (process_ <= 0) return;
        kill(process_, signal);
        wait();
    }
    void wait() {
        if (process_ > 0) waitpid(process_, &status_, 0);
        process_ = -1;
    }
    bool hasEnded() {
        if (process_ > 0 && waitpid(process_, &status_, WNOHANG) == process_) process_ = -1;
        return process_ < 0;
    }
    /// Of one that has ended: its exit status, or 128 and the number of the signal that ended it.
    int status() const { return WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_); }
    pid_t id() const { return process_; }

  private:
    pid_t process_ = -1;
    int status_ = 0;
    int output_ = -1;
};

}  // namespace rig

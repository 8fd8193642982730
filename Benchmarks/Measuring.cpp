#include "Measuring.hpp"

#include <algorithm>
#include <chrono>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cobaltreel::benchmarks {

namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

ProcessFigures measureProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const auto& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    ProcessFigures figures;
    const auto begun = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int failed = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return figures;
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child) return figures;
    figures.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    figures.cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    figures.peakMB = static_cast<double>(usage.ru_maxrss) / 1000;
    figures.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return figures;
}

Spread spreadOf(std::vector<double> values) {
    if (values.empty()) return {};
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    const double median = values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

}  // namespace cobaltreel::benchmarks

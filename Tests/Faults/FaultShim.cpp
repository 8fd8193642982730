// Preloaded into the program under test: makes calls on files below a folder fail as disks do, and the wall
// clock jump. What it shall do stands in the environment:
//   FAULT_ROOT    the folder; calls on other files are as ever
//   FAULT_KIND    full (no byte beyond the first FAULT_AT), write, sync, rename (the call numbered FAULT_AT
//   fails
//                 with EIO, and every later one until FAULT_FOR of them have), short (every write takes half)
//   FAULT_LOG     where the host-clock time of the first failure is noted
//   FAULT_CLOCK   seconds by which the wall clock is off from two seconds after the start on
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

namespace {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

const char* setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

struct Plan {
    std::string root = setting("FAULT_ROOT");
    std::string kind = setting("FAULT_KIND");
    long long at = std::atoll(setting("FAULT_AT"));
    long long howMany = std::max(1LL, std::atoll(setting("FAULT_FOR")));
    std::atomic<long long> count{0};  // bytes or calls
    std::atomic<bool> isNoted{false};
};

Plan& plan() {
    static Plan instance;
    return instance;
}

void note() {
    if (plan().isNoted.exchange(true)) return;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (std::FILE* log = std::fopen(setting("FAULT_LOG"), "w")) {
        std::fprintf(log, "%.6f\n", static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9);
        std::fclose(log);
    }
}

bool isBelowRoot(int fd) {
    if (plan().root.empty()) return false;
    char link[64], path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(link, path, sizeof path);
    return length > 0 && std::string_view(path, static_cast<std::size_t>(length)).starts_with(plan().root);
}

/// The call of this kind whose turn it is fails.
bool failsNow(const char* kind) {
    if (plan().kind != kind) return false;
    const long long number = plan().count++;
    if (number < plan().at || number >= plan().at + plan().howMany) return false;
    note();
    return true;
}

/// How much of a write goes through; below 0: errno is set.
ssize_t allowed(int fd, std::size_t size) {
    if (!isBelowRoot(fd)) return static_cast<ssize_t>(size);
    if (failsNow("write")) {
        errno = EIO;
        return -1;
    }
    if (plan().kind == "short" && size > 1) return static_cast<ssize_t>(size / 2);
    if (plan().kind != "full") return static_cast<ssize_t>(size);
    const long long before = plan().count.fetch_add(static_cast<long long>(size));
    if (before + static_cast<long long>(size) <= plan().at) return static_cast<ssize_t>(size);
    note();
    if (before < plan().at) return static_cast<ssize_t>(plan().at - before);
    errno = ENOSPC;
    return -1;
}

}  // namespace

extern "C" {

ssize_t write(int fd, const void* bytes, size_t size) {
    const ssize_t count = allowed(fd, size);
    return count < 0 ? -1 : next<decltype(&write)>("write")(fd, bytes, static_cast<std::size_t>(count));
}

ssize_t writev(int fd, const iovec* parts, int count) {
    if (!isBelowRoot(fd)) return next<decltype(&writev)>("writev")(fd, parts, count);
    for (int i = 0; i < count; ++i)
        if (parts[i].iov_len > 0) return write(fd, parts[i].iov_base, parts[i].iov_len);
    return 0;
}

int fdatasync(int fd) {
    if (isBelowRoot(fd) && failsNow("sync")) {
        errno = EIO;
        return -1;
    }
    return next<decltype(&fdatasync)>("fdatasync")(fd);
}

int fsync(int fd) {
    if (isBelowRoot(fd) && failsNow("sync")) {
        errno = EIO;
        return -1;
    }
    return next<decltype(&fsync)>("fsync")(fd);
}

int rename(const char* from, const char* to) noexcept {
    if (!plan().root.empty() && std::string_view(to).starts_with(plan().root) && failsNow("rename")) {
        errno = EIO;
        return -1;
    }
    return next<decltype(&rename)>("rename")(from, to);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static const auto real = next<int (*)(clockid_t, timespec*)>("clock_gettime");
    static const long jump = std::atol(setting("FAULT_CLOCK"));
    static const time_t begun = [] {
        timespec now{};
        real(CLOCK_MONOTONIC, &now);
        return now.tv_sec;
    }();
    const int result = real(clock, time);
    if (result != 0 || clock != CLOCK_REALTIME || jump == 0) return result;
    timespec now{};
    real(CLOCK_MONOTONIC, &now);
    if (now.tv_sec > begun + 2) time->tv_sec += jump;
    return 0;
}
}

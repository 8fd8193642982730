#include "Platform/Foundation/OpenFileLimit.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

#include <sys/resource.h>

namespace platform {
namespace {

// Beyond it some libraries wait for files in a way that knows no higher numbers.
constexpr rlim_t usualLimit = 1024;

std::ptrdiff_t openNow() {
    std::error_code error;
    const std::filesystem::directory_iterator open("/proc/self/fd", error);
    return error ? 0 : std::distance(begin(open), end(open));
}

}  // namespace

void requireOpenFiles(int count) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    if (limit.rlim_cur < usualLimit && limit.rlim_cur < limit.rlim_max) {
        const rlimit raised{std::min(limit.rlim_max, usualLimit), limit.rlim_max};
        if (setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    if (limit.rlim_cur >= static_cast<rlim_t>(openNow() + count)) return;
    throw PlatformError("Files", EMFILE,
                        "Only " + std::to_string(limit.rlim_cur) +
                            " files may be open here at a time, which is too few. Raise the limit with "
                            "`ulimit -n " +
                            std::to_string(usualLimit) + "` and start again.");
}

}  // namespace platform

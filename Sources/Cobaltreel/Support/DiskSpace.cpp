#include "Cobaltreel/Support/DiskSpace.hpp"

#include <algorithm>
#include <limits>
#include <system_error>

namespace cobaltreel {

std::int64_t DiskSpace::freeBytes(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t available = std::filesystem::space(path, error).available;
    if (error) return 0;
    constexpr std::uintmax_t largest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(available, largest));
}

}  // namespace cobaltreel

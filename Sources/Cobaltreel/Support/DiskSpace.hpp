#pragma once

#include <cstdint>
#include <filesystem>

namespace cobaltreel {

/// Free disk space.
namespace DiskSpace {

/// Bytes that the volume of `path` grants an ordinary user; 0 when the path does not exist or the
/// volume does not answer. Safe on any thread.
std::int64_t freeBytes(const std::filesystem::path& path);

}  // namespace DiskSpace

}  // namespace cobaltreel

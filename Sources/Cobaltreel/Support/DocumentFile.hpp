#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace cobaltreel {

/// Reading the documents of a session. Blocks; any thread.
namespace DocumentFile {

constexpr std::uintmax_t largestMeta = 1024 * 1024;          // bytes
constexpr std::uintmax_t largestEvents = 256 * largestMeta;  // half an hour of events is under 20 MB

/// The whole file. Throws PlatformError("Files", errno) when it is absent, is not a regular file, cannot be
/// read or is larger than `largest` (EFBIG).
std::string read(const std::filesystem::path& file, std::uintmax_t largest);

}  // namespace DocumentFile

}  // namespace cobaltreel

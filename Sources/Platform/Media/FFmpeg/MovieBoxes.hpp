#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace platform::ffmpeg::MovieBoxes {

// What a QuickTime movie says of itself, read from its boxes where the library does not tell. Any other file
// says nothing. Block on the disk; any thread; throw nothing.

/// Where the last whole fragment of a movie that breaks off ends, in bytes; absent when it is no such movie,
/// or whole.
std::optional<std::uint64_t> wholeFragmentsEnd(const std::filesystem::path& movie);

/// A track has no number, or one that cannot be. The library then goes through a billion fragments that are
/// not there, for each that is.
bool hasTrackWithoutNumber(const std::filesystem::path& movie);

}  // namespace platform::ffmpeg::MovieBoxes

#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Platform/Media/MediaService.hpp"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cobaltreel::benchmarks {

/// When each stream shows an event, in seconds of one clock: by stream "screen", "camera", "mic", "system"
/// and "click", one entry an event; not a number where the stream does not show it.
using Sightings = std::map<std::string, std::vector<double>>;

/// Reads the instants back from the movies and the pointer's log of a session, on the host clock.
Sightings readSession(platform::MediaService& media, const SessionFolder& folder, const SessionMeta& meta,
                      const std::vector<double>& instants);

/// Reads them back from an exported movie that keeps the whole recording. `clicks` are those that the
/// export drew, in output time.
Sightings readExport(platform::MediaService& media, const std::filesystem::path& movie,
                     const SessionMeta& meta, const std::vector<double>& clicks,
                     const std::vector<double>& instants);

}  // namespace cobaltreel::benchmarks

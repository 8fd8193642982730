#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/UserDefaults.hpp"
#include "Platform/Media/MediaService.hpp"

#include <filesystem>
#include <optional>

namespace cobaltreel {

/// Recordings that were never exported.
namespace OrphanSessions {

struct Orphan {
    SessionFolder folder;
    SessionMeta meta;
};

/// The youngest recording in `root` about which the user has not been asked yet; one that was cut off is made
/// whole first. All that are there count as asked about from then on, which is stored before this returns.
/// Removes folders that are certainly ours and hold nothing to play, unless somebody records into
/// them; leaves alone files, links, and recordings whose document cannot be true or cannot be read. Absent
/// also when the root cannot be read. Blocks; main thread.
std::optional<Orphan> takeUnprompted(const std::filesystem::path& root, platform::UserDefaults& defaults,
                                     platform::MediaService& media);

}  // namespace OrphanSessions

}  // namespace cobaltreel

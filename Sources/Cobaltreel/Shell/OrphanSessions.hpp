#pragma once

#include "Cobaltreel/Support/SessionFolder.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/UserDefaults.hpp"

#include <filesystem>
#include <optional>

namespace cobaltreel {

/// Recordings that were never exported.
namespace OrphanSessions {

struct Orphan {
    SessionFolder folder;
    SessionMeta meta;
};

/// The youngest recording in `root` about which the user has not been asked yet. All that are there count as
/// asked about from then on, which is stored before this returns. Removes folders that no recording can be
/// opened from, except those in which somebody is at work; leaves alone files, links, and recordings whose
/// document cannot be true. Absent also when the root cannot be read. Blocks; main thread.
std::optional<Orphan> takeUnprompted(const std::filesystem::path& root, platform::UserDefaults& defaults);

}  // namespace OrphanSessions

}  // namespace cobaltreel

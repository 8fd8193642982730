#pragma once

#include "Platform/Media/MediaService.hpp"
#include "Platform/Media/Player.hpp"

#include <memory>
#include <optional>

namespace platform {

/// A player's item, opened: where its pictures come from, and its sound.
struct PlayableItem {
    std::optional<Composition::Segment> pictures;  ///< absent: the item has only sound
    std::unique_ptr<AudioMix> sound;               ///< silence where the item has none
    double duration = 0;                           ///< seconds
};

/// Opens an item without decoding any of it. Blocks on the disk. Throws PlatformError naming the file that
/// cannot be opened, that holds nothing to play, or whose pictures lie in more than one piece.
PlayableItem openPlayableItem(MediaService& media, const PlayerItem& item);

}  // namespace platform

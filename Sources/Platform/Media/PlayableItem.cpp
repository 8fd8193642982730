#include "Platform/Media/PlayableItem.hpp"

#include <utility>

namespace platform {
namespace {

void insertWhole(Composition& composition, const std::shared_ptr<Asset>& asset, MediaType type) {
    const auto tracks = asset->loadTracks(type);
    if (tracks.empty()) return;
    const TimeRange& range = tracks.front().timeRange;
    if (range.end > range.start)
        composition.addMutableTrack(type).insertTimeRange(range, asset, tracks.front(), range.start);
}

/// The first track of either kind, each as it lies in the file.
Composition wholeMovie(MediaService& media, const std::filesystem::path& path) {
    const auto asset = media.asset(path);
    Composition composition;
    insertWhole(composition, asset, MediaType::video);
    insertWhole(composition, asset, MediaType::audio);
    if (composition.tracks().empty())
        throw PlatformError("Player", 1,
                            "The movie " + path.string() +
                                " cannot be played: it holds neither pictures nor sound. Record it again.");
    return composition;
}

std::optional<Composition::Segment> picturesOf(const Composition& composition) {
    for (const Composition::Track& track : composition.tracks()) {
        if (track.type() != MediaType::video || track.segments().empty()) continue;
        const Composition::Segment& first = track.segments().front();
        if (track.segments().size() > 1)
            throw PlatformError("Player", 2,
                                "The pictures of " + first.asset->path().string() +
                                    " lie in several pieces, which a player does not join.");
        return first;
    }
    return std::nullopt;
}

}  // namespace

PlayableItem openPlayableItem(MediaService& media, const PlayerItem& item) {
    const auto* path = std::get_if<std::filesystem::path>(&item);
    const Composition composition = path ? wholeMovie(media, *path) : std::get<Composition>(item);
    if (!(composition.duration() > 0))
        throw PlatformError("Player", 1, "There is nothing to play: the composition is empty.");
    return {picturesOf(composition), media.makeAudioMix(composition), composition.duration()};
}

}  // namespace platform

#include "Platform/Media/Composition.hpp"

#include "Platform/Foundation/PlatformError.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {

void Composition::Track::insertTimeRange(const TimeRange& source, std::shared_ptr<Asset> asset,
                                         const AssetTrack& track, double at) {
    const auto refuse = [&](const std::string& reason) {
        const std::string file = asset ? asset->path().string() : "a movie";
        throw PlatformError("Media", 3, "A part of " + file + " cannot be placed on a timeline: " + reason);
    };
    const bool finite = std::isfinite(source.start) && std::isfinite(source.end) && std::isfinite(at);
    if (!finite || !(source.end > source.start)) refuse("the span is empty.");
    if (source.start < 0 || at < 0) refuse("the span starts before zero.");
    if (track.type != type_) refuse("the track is of another type.");
    segments_.push_back({std::move(asset), track, source, at});
}

Composition::Track& Composition::addMutableTrack(MediaType type) { return tracks_.emplace_back(type); }

double Composition::duration() const {
    double end = 0;
    for (const Track& track : tracks_)
        for (const Segment& segment : track.segments())
            end = std::max(end, segment.start + segment.source.duration());
    return end;
}

}  // namespace platform

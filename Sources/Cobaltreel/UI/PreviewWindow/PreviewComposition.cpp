#include "Cobaltreel/UI/PreviewWindow/PreviewComposition.hpp"

#include "Platform/Foundation/MediaTime.hpp"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace cobaltreel {

using platform::AssetTrack;
using platform::Composition;
using platform::MediaTime;
using platform::MediaType;

namespace {

struct Movie {
    std::shared_ptr<platform::Asset> asset;
    std::vector<AssetTrack> video;
    std::vector<AssetTrack> audio;

    Movie(platform::MediaService& media, const std::filesystem::path& path)
        : asset(media.asset(path)),
          video(asset->loadTracks(MediaType::video)),
          audio(asset->loadTracks(MediaType::audio)) {}

    double duration() const {
        double end = 0;
        for (const auto* tracks : {&video, &audio})
            for (const AssetTrack& track : *tracks) end = std::max(end, track.timeRange.end);
        return end;
    }
};

}  // namespace

double onTimescale(double seconds) {
    // Media times hold this many seconds without overflow.
    constexpr double bound = 1e9;
    return MediaTime::fromSeconds(std::clamp(seconds, -bound, bound)).seconds();
}

Composition makePreviewComposition(platform::MediaService& media, const SessionFolder& folder,
                                   double cameraOffset) {
    const Movie screen(media, folder.screenMovie());
    if (screen.video.empty()) throw std::runtime_error(folder.screenMovie().string() + " has no pictures");
    const double screenDuration = screen.duration();
    Composition composition;
    composition.addMutableTrack(MediaType::video)
        .insertTimeRange({0, screenDuration}, screen.asset, screen.video.front(), 0);

    const Movie camera(media, folder.cameraMovie());
    if (!camera.audio.empty()) {
        auto& microphone = composition.addMutableTrack(MediaType::audio);
        const double source = onTimescale(std::max(cameraOffset, 0.0));
        const double start = onTimescale(std::max(-cameraOffset, 0.0));
        const double length = onTimescale(std::min(camera.duration() - source, screenDuration - start));
        if (length > 0)
            microphone.insertTimeRange({source, source + length}, camera.asset, camera.audio.front(), start);
    }
    if (!screen.audio.empty())
        composition.addMutableTrack(MediaType::audio)
            .insertTimeRange({0, screenDuration}, screen.asset, screen.audio.front(), 0);
    return composition;
}

}  // namespace cobaltreel

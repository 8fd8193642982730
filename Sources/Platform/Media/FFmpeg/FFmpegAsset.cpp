#include "Platform/Media/FFmpeg/FFmpegAsset.hpp"

#include "Platform/Media/FFmpeg/MovieInput.hpp"

#include <algorithm>
#include <iterator>

namespace platform::ffmpeg {

void FFmpegAsset::look() {
    if (tracks_) return;
    const MovieInput movie(path_);
    sessionStart_ = movie.sessionStart();
    tracks_ = movie.tracks();
}

std::optional<double> FFmpegAsset::sessionStart() {
    look();
    return sessionStart_;
}

std::vector<AssetTrack> FFmpegAsset::loadTracks(MediaType type) {
    look();
    std::vector<AssetTrack> result;
    std::ranges::copy_if(*tracks_, std::back_inserter(result),
                         [type](const AssetTrack& track) { return track.type == type; });
    return result;
}

}  // namespace platform::ffmpeg

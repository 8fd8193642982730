#include "Platform/Media/FFmpeg/FFmpegAsset.hpp"

#include "Platform/Media/FFmpeg/MovieInput.hpp"

#include <algorithm>
#include <iterator>

namespace platform::ffmpeg {

std::vector<AssetTrack> FFmpegAsset::loadTracks(MediaType type) {
    if (!tracks_) tracks_ = MovieInput(path_).tracks();
    std::vector<AssetTrack> result;
    std::ranges::copy_if(*tracks_, std::back_inserter(result),
                         [type](const AssetTrack& track) { return track.type == type; });
    return result;
}

}  // namespace platform::ffmpeg

// Movies, from bytes that anybody may have written: opened, looked through and heard as the preview and the
// export do it.
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

using namespace platform;

namespace {

constexpr int maxPictures = 60;
constexpr int maxSounds = 200;

const std::filesystem::path& movieFile() {
    static const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("cobaltreel-fuzz-" + std::to_string(getpid()) + ".mov");
    static const bool willGo = std::atexit([] { unlink(file.c_str()); }) == 0;
    static_cast<void>(willGo);
    return file;
}

void look(MediaService& media, const std::shared_ptr<Asset>& asset, const AssetTrack& track, double from) {
    const auto reader =
        media.makeTrackReader(asset, track, {from, track.timeRange.end + 1}, PixelFormat::i420);
    if (!reader->startReading()) return;
    for (int i = 0; i < maxPictures && reader->copyNextSampleBuffer(); ++i) {
    }
}

void listen(MediaService& media, const std::shared_ptr<Asset>& asset, const AssetTrack& track) {
    Composition composition;
    composition.addMutableTrack(MediaType::audio)
        .insertTimeRange({track.timeRange.start, track.timeRange.end}, asset, track, 0);
    const auto reader = media.makeAudioMixReader(composition);
    if (!reader->startReading()) return;
    for (int i = 0; i < maxSounds && reader->copyNextSampleBuffer(); ++i) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto media = makeFFmpegMediaService();
    std::ofstream(movieFile(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        const auto asset = media->asset(movieFile());
        for (const auto& track : asset->loadTracks(MediaType::video)) {
            look(*media, asset, track, 0);
            look(*media, asset, track, track.timeRange.end / 2);
        }
        for (const auto& track : asset->loadTracks(MediaType::audio)) listen(*media, asset, track);
    } catch (const std::exception&) {
    }
    return 0;
}

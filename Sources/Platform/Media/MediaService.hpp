#pragma once

#include "Platform/Media/Asset.hpp"
#include "Platform/Media/AssetReader.hpp"
#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/AudioMix.hpp"
#include "Platform/Media/Composition.hpp"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace platform {

/// Which encoder serves a purpose, for a person to read.
struct EncoderReport {
    std::string purpose;      ///< "screen recording (HEVC)"
    std::string encoder;      ///< "libx265"; empty when none works
    std::string explanation;  ///< why not a faster one, or what to install when none works
};

/// Movies: opening, reading, mixing, writing. Any thread.
class MediaService {
  public:
    virtual ~MediaService() = default;

    virtual std::shared_ptr<Asset> asset(const std::filesystem::path& path) = 0;
    /// Frames of a video track in `format` (i420 or bgra), from the frame on screen at `range.start` to
    /// the last before `range.end`. Throws PlatformError when the file cannot be opened or decoded.
    virtual std::unique_ptr<AssetReader> makeTrackReader(const std::shared_ptr<Asset>& asset,
                                                         const AssetTrack& track, const TimeRange& range,
                                                         PixelFormat format) = 0;
    /// All audio tracks of the composition summed (clipped at full scale) to 48 kHz stereo float, from
    /// composition time 0 to its end in runs of 1024 frames; silence where no segment lies.
    virtual std::unique_ptr<AssetReader> makeAudioMixReader(const Composition& composition) = 0;
    /// The same sum at any place, for playing. Opens the files; throws PlatformError naming the one that
    /// cannot be opened or decoded.
    virtual std::unique_ptr<AudioMix> makeAudioMix(const Composition& composition) = 0;
    /// Throws PlatformError naming the file when it cannot be created. An existing file is replaced.
    virtual std::unique_ptr<AssetWriter> makeWriter(const std::filesystem::path& path, FileType type) = 0;

    /// Tries every encoder the program needs.
    virtual std::vector<EncoderReport> encoders() = 0;
    virtual std::string implementation() const = 0;
};

}  // namespace platform

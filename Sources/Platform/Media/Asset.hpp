#pragma once

#include "Platform/Foundation/MediaTime.hpp"
#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Imaging/SampleBuffer.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// One track of a movie file.
struct AssetTrack {
    int index = 0;  ///< position among the file's tracks
    MediaType type = MediaType::video;
    TimeRange timeRange;  ///< seconds on the movie's timeline
    std::string codec;    ///< short name: "hevc", "h264", "aac"
    int width = 0;        ///< pixels; video only
    int height = 0;
    int sampleRate = 0;  ///< audio only
    int channels = 0;
};

/// A file that could be read, and is no movie: unlike other errors this one does not pass.
class NotAMovie : public PlatformError {
  public:
    using PlatformError::PlatformError;
};

/// A movie file. Making one never fails; the file is opened when something is asked of it. Operations
/// block on the disk; any thread, one at a time.
class Asset {
  public:
    virtual ~Asset() = default;
    virtual const std::filesystem::path& path() const = 0;
    /// The tracks of one type in file order. Throws PlatformError naming the file when it cannot be
    /// opened, NotAMovie when it is none. Of a movie that breaks off, what comes before counts.
    virtual std::vector<AssetTrack> loadTracks(MediaType type) = 0;
    /// Where the session of its writer started, in seconds of the host clock: the zero of its timeline.
    /// Absent when the movie does not tell. Throws as `loadTracks` does.
    virtual std::optional<double> sessionStart() = 0;
};

}  // namespace platform

#pragma once

#include "Platform/Foundation/MediaTime.hpp"
#include "Platform/Media/Asset.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace platform::ffmpeg {

/// An open movie file being demuxed. One thread, but for `interrupt`.
class MovieInput {
  public:
    /// A movie that breaks off inside a fragment is opened up to its last whole one. Throws PlatformError
    /// naming the file when it cannot be opened, NotAMovie when it is none.
    explicit MovieInput(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return path_; }
    std::vector<AssetTrack> tracks() const;
    /// What `MovieMuxer::noteSessionStart` noted, in seconds.
    std::optional<double> sessionStart() const;
    AVStream& stream(int index) const;

    /// Only this stream's packets are read from now on.
    void selectStream(int index);
    /// Goes to the last key frame of the selected stream at or before `seconds` of the movie's
    /// timeline, or to the first one. False when there is none to go to.
    bool seek(double seconds);
    /// The next packet of the selected stream; false at the end of the file. Throws when the file
    /// cannot be read on.
    bool read(AVPacket& packet);

    /// A time stamp of the selected stream on the movie's timeline, in the stream's own time base.
    std::int64_t movieTimestamp(std::int64_t timestamp) const { return timestamp - origin_; }
    double movieSeconds(std::int64_t timestamp) const;

    /// A decoder for the selected stream, opened.
    CodecPtr openDecoder() const;

    /// Makes a waiting or coming read fail. Any thread.
    void interrupt() { *interrupted_ = true; }

  private:
    int open(const std::string& url);
    double originSeconds() const;

    std::filesystem::path path_;
    std::unique_ptr<std::atomic<bool>> interrupted_;
    InputPtr context_;
    int selected_ = -1;
    std::int64_t origin_ = 0;  // the movie's zero in time stamps of the selected stream
};

}  // namespace platform::ffmpeg

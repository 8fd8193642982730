#pragma once

#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::ffmpeg {

/// The file that encoded packets go into. Every operation throws PlatformError naming the file when it
/// cannot be written. `write` and `settle` may be called on any thread, the others on one.
class MovieMuxer {
  public:
    /// Creates the file; an existing one is emptied.
    MovieMuxer(const std::filesystem::path& path, FileType type);

    /// Adds a track of what the opened encoder makes; returns its number.
    int addTrack(const AVCodecContext& encoder);
    bool wantsGlobalHeaders() const;
    /// The file is written in fragments.
    bool isFragmented() const { return type_ == FileType::quickTimeMovie; }
    /// Writes the file's head; the tracks are complete.
    void begin();
    /// Writes a packet whose times are in `base`; the packet is consumed. Tracks are interleaved by time.
    void write(int track, AVPacket& packet, AVRational base);
    /// Brings everything written so far into the file, when it is one that is written in fragments: for
    /// a pause in which no packet comes.
    void settle();
    /// Completes and closes the file.
    void finish();
    /// Closes the file as it is.
    void abandon();

  private:
    void requireNoWriteError();
    void cutFragment();
    void startLateTrack(int track);
    std::string sentence() const { return "The movie " + path_.string() + " cannot be written"; }

    std::filesystem::path path_;
    FileType type_;
    std::mutex mutex_;
    FilePtr file_;
    OutputPtr context_;
    std::vector<bool> started_;        // tracks that have had a packet
    std::optional<double> firstTime_;  // seconds, of the first packet of all
    bool headOut_ = false;             // the fragmented file's track list is written
    bool dirty_ = false;               // packets wait in the library's buffers
};

}  // namespace platform::ffmpeg

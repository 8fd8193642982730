#pragma once

#include "Platform/Media/AssetWriter.hpp"
#include "Platform/Media/FFmpeg/FragmentFile.hpp"
#include "Platform/Media/FFmpeg/Handles.hpp"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace platform::ffmpeg {

/// The entry of a movie's metadata that `MovieMuxer::noteSessionStart` writes.
inline constexpr const char* sessionStartKey = "com.pellanor.cobaltreel.session-start";

/// The file that encoded packets go into. Every operation throws PlatformError naming the file when it
/// cannot be written. `write`, `settle` and `flush` may be called on any thread, the others on one.
class MovieMuxer {
  public:
    /// Creates the file; an existing one is emptied.
    MovieMuxer(const std::filesystem::path& path, FileType type);

    /// Adds a track of what the opened encoder makes; returns its number.
    int addTrack(const AVCodecContext& encoder);
    bool wantsGlobalHeaders() const;
    /// The file is written in fragments.
    bool isFragmented() const { return type_ == FileType::quickTimeMovie; }
    /// Keeps room in front for the index of that many seconds with `framesPerSecond` pictures each. Before
    /// `begin`.
    void reserveIndex(double seconds, double framesPerSecond);
    /// Before `begin`, once.
    void setChapters(const std::vector<Chapter>& chapters);
    /// Writes the file's head; the tracks are complete.
    void begin();
    /// Lets a movie that is written in fragments tell the host-clock time of its zero, whatever becomes of
    /// the documents beside it. Before the first packet.
    void noteSessionStart(double seconds);
    /// Writes a packet whose times are in `base`; the packet is consumed. Tracks are interleaved by time.
    void write(int track, AVPacket& packet, AVRational base);
    /// Hands everything written so far over to the file, when it is one that is written in fragments: for
    /// a pause in which no packet comes.
    void settle();
    /// The same, and waits until it is on the disk. Returns where the longest track then ends in the file,
    /// in seconds; absent while nothing has been written, or when the file is not written in fragments.
    std::optional<double> flush();
    /// Completes and closes the file.
    void finish();
    /// Closes the file; one that is written in fragments keeps what was written to it.
    void abandon();

  private:
    void requireNoWriteError();
    void handOver();
    void cutFragment();
    bool isOpen() const { return file_ || fragments_; }
    void keepTrueTimes();
    std::string sentence() const { return "The movie " + path_.string() + " cannot be written"; }

    std::filesystem::path path_;
    FileType type_;
    std::mutex mutex_;
    FilePtr file_;                             // of a movie with its index in front
    std::shared_ptr<FragmentFile> fragments_;  // of one in fragments; shared with a `flush` that waits
    OutputPtr context_;
    std::vector<bool> started_;         // tracks that have had a packet
    std::optional<double> firstTime_;   // seconds, of the first packet of all
    std::optional<double> writtenEnd_;  // seconds, of the longest track as far as packets came
    bool headOut_ = false;              // the fragmented file's track list is written
    std::int64_t indexBytes_ = 0;       // kept for the index; 0: as much as it will need
    std::int64_t chapterBytes_ = 0;     // what chapters add to the index
    bool dirty_ = false;                // packets wait in the library's buffers
};

}  // namespace platform::ffmpeg

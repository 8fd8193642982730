#pragma once

#include "Platform/Media/MediaService.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace platform {

/// One picture of a fake movie, every byte of it `value`.
struct FakeFrame {
    double time = 0;  ///< seconds; kept in 1/90000
    std::uint8_t value = 0;
};

/// What a movie file holds and how reading it goes. Its sound is silence.
struct FakeMovie {
    int width = 4;
    int height = 4;
    std::vector<FakeFrame> frames;   ///< in time order; empty: the movie has no video track
    std::optional<TimeRange> sound;  ///< absent: the movie has no audio track

    std::optional<PlatformError> videoLoadError;  ///< thrown by loadTracks(video)
    std::optional<PlatformError> audioLoadError;
    std::optional<PlatformError> readerCreationError;  ///< thrown by makeTrackReader
    bool readerStarts = true;
    std::optional<std::size_t> readerFailsAfter;  ///< pictures delivered before the reader fails
    std::optional<PlatformError> readerError;     ///< what a failed reader reports

    /// Pictures at `count` equal steps of a rate, their values 1, 2, 3 …
    static FakeMovie withFrames(std::size_t count, double framesPerSecond);
};

/// How the audio mix goes.
struct FakeMix {
    bool starts = true;
    std::optional<double> failsAt;  ///< seconds of sound delivered before the reader fails
    std::optional<PlatformError> error;
};

/// How writing goes.
struct FakeWriting {
    std::optional<PlatformError> creationError;  ///< thrown by makeWriter
    bool starts = true;
    bool createsFile = false;  ///< an empty file stands at the path from startWriting on
    /// Video samples taken before the writer fails; it then refuses everything.
    std::optional<std::size_t> failsAfter;
    bool failsOnFinish = false;
    std::optional<PlatformError> error;  ///< what a failed writer reports
    bool hasPool = true;
    std::size_t poolLimit = 100000;  ///< the record keeps every picture; 0: the pool gives no buffer
    /// So many asks for readiness (of either kind) are answered with no at first.
    std::size_t videoNotReadyAsks = 0;
    std::size_t audioNotReadyAsks = 0;
    /// Called before the answer to each ask for readiness of the video input, with the count of asks so
    /// far: a test cancels here.
    std::function<void(std::size_t)> onVideoAsk;
};

/// Everything that a writer was told. It outlives the writer.
struct WriterRecord {
    std::filesystem::path path;
    std::optional<VideoSettings> videoSettings;
    std::optional<AudioSettings> audioSettings;
    std::optional<MediaTime> sessionStart;
    std::vector<SampleBuffer> video;
    std::vector<SampleBuffer> audio;
    std::vector<MediaType> order;  ///< which input took each sample
    bool videoFinished = false;
    bool audioFinished = false;
    bool finished = false;
    bool cancelled = false;
};

/// What a track reader was asked for.
struct ReaderRequest {
    std::filesystem::path path;
    TimeRange range;
};

/// A media service of fake movies, deterministic and without threads. Set the script, run the code
/// under test, look at the records. One thread.
class FakeMedia final : public MediaService {
  public:
    std::map<std::filesystem::path, FakeMovie> movies;  ///< a path not listed is "no such file"
    FakeMix mix;
    FakeWriting writing;

    std::vector<ReaderRequest> readerRequests;
    std::vector<Composition> mixedCompositions;
    std::vector<std::shared_ptr<WriterRecord>> writers;

    std::shared_ptr<Asset> asset(const std::filesystem::path& path) override;
    std::unique_ptr<AssetReader> makeTrackReader(const std::shared_ptr<Asset>& asset, const AssetTrack& track,
                                                 const TimeRange& range, PixelFormat format) override;
    std::unique_ptr<AssetReader> makeAudioMixReader(const Composition& composition) override;
    std::unique_ptr<AudioMix> makeAudioMix(const Composition&) override { return nullptr; }
    std::unique_ptr<AssetWriter> makeWriter(const std::filesystem::path& path, FileType type) override;
    std::vector<EncoderReport> encoders() override { return {}; }
    std::string implementation() const override { return "fake"; }
};

}  // namespace platform

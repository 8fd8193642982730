#include "Fakes/FakeMedia.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <mutex>
#include <utility>

namespace platform {
namespace {

constexpr std::int32_t scriptTimescale = 90000;

class FakeAsset final : public Asset {
  public:
    FakeAsset(std::filesystem::path path, std::optional<FakeMovie> movie)
        : path_(std::move(path)), movie_(std::move(movie)) {}

    const std::filesystem::path& path() const override { return path_; }
    const FakeMovie& movie() const { return *movie_; }

    std::optional<double> sessionStart() override { return std::nullopt; }
    std::vector<AssetTrack> loadTracks(MediaType type) override {
        if (!movie_) throw PlatformError("FakeMedia", 1, path_.string() + " cannot be opened: no such file.");
        const auto& loadError = type == MediaType::video ? movie_->videoLoadError : movie_->audioLoadError;
        if (loadError) throw PlatformError(*loadError);
        if (type == MediaType::video && !movie_->frames.empty()) return {videoTrack()};
        if (type == MediaType::audio && movie_->sound) return {audioTrack()};
        return {};
    }

  private:
    AssetTrack videoTrack() const {
        AssetTrack track;
        track.timeRange = {movie_->frames.front().time, movie_->frames.back().time};
        track.codec = "h264";
        track.width = movie_->width;
        track.height = movie_->height;
        return track;
    }
    AssetTrack audioTrack() const {
        AssetTrack track;
        track.index = 1;
        track.type = MediaType::audio;
        track.timeRange = *movie_->sound;
        track.codec = "aac";
        track.sampleRate = 48000;
        track.channels = 2;
        return track;
    }

    std::filesystem::path path_;
    std::optional<FakeMovie> movie_;
};

/// The part of a reader that every fake reader shares: its states.
class FakeReader : public AssetReader {
  public:
    FakeReader(bool starts, std::optional<PlatformError> failure)
        : starts_(starts), failure_(std::move(failure)) {}

    bool startReading() override {
        status_ = starts_ ? Status::reading : Status::failed;
        return starts_;
    }
    void cancelReading() override { status_ = Status::cancelled; }
    Status status() const override { return status_; }
    std::optional<PlatformError> error() const override {
        return status_ == Status::failed ? failure_ : std::nullopt;
    }

  protected:
    std::optional<SampleBuffer> end(Status status) {
        status_ = status;
        return std::nullopt;
    }

  private:
    bool starts_;
    std::optional<PlatformError> failure_;
    Status status_ = Status::unknown;
};

class FakeTrackReader final : public FakeReader {
  public:
    FakeTrackReader(const FakeMovie& movie, const TimeRange& range, PixelFormat format)
        : FakeReader(movie.readerStarts, movie.readerError), movie_(movie), format_(format) {
        const auto& frames = movie_.frames;
        next_ = 0;
        while (next_ + 1 < frames.size() && frames[next_ + 1].time <= range.start) ++next_;
        end_ = next_;
        while (end_ < frames.size() && frames[end_].time < range.end) ++end_;
    }

    std::optional<SampleBuffer> copyNextSampleBuffer() override {
        if (status() != Status::reading) return std::nullopt;
        if (movie_.readerFailsAfter && delivered_ >= *movie_.readerFailsAfter) return end(Status::failed);
        if (next_ >= end_) return end(Status::completed);
        const FakeFrame& frame = movie_.frames[next_++];
        ++delivered_;
        const auto image = std::make_shared<PixelBuffer>(format_, movie_.width, movie_.height);
        for (int i = 0; i < image->planeCount(); ++i) {
            const Plane& plane = image->plane(i);
            std::memset(plane.data, frame.value,
                        static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(plane.height));
        }
        return SampleBuffer{MediaTime::fromSeconds(frame.time, scriptTimescale), image, nullptr};
    }

  private:
    FakeMovie movie_;
    PixelFormat format_;
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    std::size_t delivered_ = 0;
};

class FakeMixReader final : public FakeReader {
  public:
    FakeMixReader(const FakeMix& mix, Composition composition)
        : FakeReader(mix.starts, mix.error), mix_(mix), composition_(std::move(composition)) {}

    std::optional<SampleBuffer> copyNextSampleBuffer() override {
        constexpr std::int64_t runLength = 1024;
        if (status() != Status::reading) return std::nullopt;
        const AudioFormat format;
        const std::int64_t total = std::llround(composition_.duration() * format.sampleRate);
        if (mix_.failsAt && static_cast<double>(position_) >= *mix_.failsAt * format.sampleRate)
            return end(Status::failed);
        if (position_ >= total) return end(Status::completed);
        const std::int64_t count = std::min(runLength, total - position_);
        auto audio = std::make_shared<AudioBuffer>();
        audio->bytes.resize(static_cast<std::size_t>(count) * format.bytesPerFrame());
        const MediaTime time{position_, format.sampleRate};
        position_ += count;
        return SampleBuffer{time, nullptr, std::move(audio)};
    }

  private:
    FakeMix mix_;
    Composition composition_;
    std::int64_t position_ = 0;
};

class FakeWriter final : public AssetWriter {
  public:
    FakeWriter(FakeWriting writing, std::shared_ptr<WriterRecord> record)
        : script_(std::move(writing)), record_(std::move(record)) {}

    AssetWriterInput& addVideoInput(const VideoSettings& settings) override {
        record_->videoSettings = settings;
        return video_;
    }
    AssetWriterInput& addAudioInput(const AudioSettings& settings) override {
        record_->audioSettings = settings;
        return audio_;
    }
    void setChapters(const std::vector<Chapter>&) override {}
    bool startWriting() override {
        state_ = script_.starts ? Status::writing : Status::failed;
        if (script_.createsFile) std::ofstream(record_->path).flush();
        return script_.starts;
    }
    void startSession(MediaTime atSourceTime) override { record_->sessionStart = atSourceTime; }
    Status status() const override { return state_; }
    std::optional<PlatformError> error() const override {
        return state_ == Status::failed ? script_.error : std::nullopt;
    }
    std::optional<MediaTime> flush() override {
        const std::lock_guard lock(mutex_);
        return state_ == Status::writing ? latest_ : std::nullopt;
    }
    void finishWriting(std::function<void()> done) override {
        if (state_ == Status::writing) {
            record_->finished = true;
            state_ = script_.failsOnFinish ? Status::failed : Status::completed;
        }
        done();
    }
    void cancelWriting() override {
        record_->cancelled = true;
        state_ = Status::cancelled;
    }

  private:
    class Input final : public AssetWriterInput {
      public:
        Input(FakeWriter& writer, MediaType type) : writer_(writer), isVideo_(type == MediaType::video) {}

        bool isReadyForMoreMediaData() const override {
            const FakeWriting& script = writer_.script_;
            ++asks_;
            if (isVideo_ && script.onVideoAsk) script.onVideoAsk(asks_);
            return writer_.state_ == Status::writing &&
                   asks_ > (isVideo_ ? script.videoNotReadyAsks : script.audioNotReadyAsks);
        }
        bool waitUntilReady(double) override { return isReadyForMoreMediaData(); }
        bool append(const SampleBuffer& sample) override {
            WriterRecord& record = *writer_.record_;
            if (writer_.state_ != Status::writing || isFinished()) return false;
            auto& samples = isVideo_ ? record.video : record.audio;
            samples.push_back(sample);
            record.order.push_back(isVideo_ ? MediaType::video : MediaType::audio);
            const std::lock_guard lock(writer_.mutex_);
            auto& latest = writer_.latest_;
            if (!latest || *latest < sample.presentationTime) latest = sample.presentationTime;
            const auto& failsAfter = writer_.script_.failsAfter;
            if (isVideo_ && failsAfter && samples.size() >= *failsAfter) writer_.state_ = Status::failed;
            return true;
        }
        void markAsFinished() override { isFinished() = true; }
        PixelBufferPool* pixelBufferPool() override {
            const auto& settings = writer_.record_->videoSettings;
            if (!isVideo_ || !writer_.script_.hasPool || !settings) return nullptr;
            if (!pool_)
                pool_.emplace(PixelFormat::i420, settings->width, settings->height,
                              writer_.script_.poolLimit);
            return &*pool_;
        }

      private:
        bool& isFinished() {
            return isVideo_ ? writer_.record_->videoFinished : writer_.record_->audioFinished;
        }

        FakeWriter& writer_;
        bool isVideo_;
        mutable std::size_t asks_ = 0;  // whether it is ready
        std::optional<PixelBufferPool> pool_;
    };

    FakeWriting script_;
    std::shared_ptr<WriterRecord> record_;
    std::atomic<Status> state_{Status::unknown};
    std::mutex mutex_;                 // `flush` comes on a thread of its own
    std::optional<MediaTime> latest_;  // of the samples taken
    Input video_{*this, MediaType::video};
    Input audio_{*this, MediaType::audio};
};

}  // namespace

FakeMovie FakeMovie::withFrames(std::size_t count, double framesPerSecond) {
    FakeMovie movie;
    for (std::size_t i = 0; i < count; ++i)
        movie.frames.push_back({static_cast<double>(i) / framesPerSecond, static_cast<std::uint8_t>(i + 1)});
    return movie;
}

std::shared_ptr<Asset> FakeMedia::asset(const std::filesystem::path& path) {
    const auto found = movies.find(path);
    if (found == movies.end()) return std::make_shared<FakeAsset>(path, std::nullopt);
    return std::make_shared<FakeAsset>(path, found->second);
}

std::unique_ptr<AssetReader> FakeMedia::makeTrackReader(const std::shared_ptr<Asset>& asset,
                                                        const AssetTrack&, const TimeRange& range,
                                                        PixelFormat format) {
    const FakeMovie& movie = static_cast<const FakeAsset&>(*asset).movie();
    readerRequests.push_back({asset->path(), range});
    if (movie.readerCreationError) throw PlatformError(*movie.readerCreationError);
    return std::make_unique<FakeTrackReader>(movie, range, format);
}

std::unique_ptr<AssetReader> FakeMedia::makeAudioMixReader(const Composition& composition) {
    mixedCompositions.push_back(composition);
    return std::make_unique<FakeMixReader>(mix, composition);
}

std::unique_ptr<AssetWriter> FakeMedia::makeWriter(const std::filesystem::path& path, FileType) {
    if (writing.creationError) throw PlatformError(*writing.creationError);
    auto record = std::make_shared<WriterRecord>();
    record->path = path;
    writers.push_back(record);
    return std::make_unique<FakeWriter>(writing, std::move(record));
}

}  // namespace platform

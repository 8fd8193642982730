#include "Platform/Media/Gif/GifWriter.hpp"

#include "Platform/Foundation/BoundedQueue.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Imaging/ConvertPixels.hpp"
#include "Platform/Media/Gif/GifPictures.hpp"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t queuedPictures = 8;
// Beside the queue: the picture being coded and what the caller is drawing or has at hand.
constexpr std::size_t picturesElsewhere = 8;

/// The writer and its only input.
class GifWriter final : public AssetWriter, AssetWriterInput {
  public:
    explicit GifWriter(std::filesystem::path path) : path_(std::move(path)) {}
    ~GifWriter() override { cancelWriting(); }

    AssetWriterInput& addVideoInput(const VideoSettings& settings) override {
        settings_ = settings;
        return *this;
    }
    AssetWriterInput& addAudioInput(const AudioSettings&) override {
        throw PlatformError("Gif", -1, "The GIF " + path_.string() + " can hold no sound.");
    }
    void setChapters(const std::vector<Chapter>&) override {}  // a GIF has none
    bool startWriting() override {
        try {
            pictures_ = std::make_unique<gif::GifPictures>(path_, settings_.width, settings_.height);
        } catch (const PlatformError& problem) {
            end(Status::failed, problem);
            return false;
        }
        pool_ = std::make_unique<PixelBufferPool>(PixelFormat::i420, settings_.width, settings_.height,
                                                  queuedPictures + picturesElsewhere, settings_.matrix);
        {
            const std::lock_guard lock(mutex_);
            status_ = Status::writing;
        }
        thread_ = NamedThread("encode.gif", [this] { run(); });
        return true;
    }
    void startSession(MediaTime atSourceTime) override { start_ = atSourceTime.seconds(); }
    Status status() const override {
        const std::lock_guard lock(mutex_);
        return status_;
    }
    std::optional<PlatformError> error() const override {
        const std::lock_guard lock(mutex_);
        return error_;
    }
    std::optional<MediaTime> flush() override { return std::nullopt; }
    void finishWriting(std::function<void()> done) override {
        markAsFinished();
        finisher_ = NamedThread("movie.finish", [this, done = std::move(done)] {
            thread_.join();
            done();
        });
    }
    void cancelWriting() override {
        end(Status::cancelled, std::nullopt);
        finisher_.join();
        thread_.join();
        pictures_.reset();
    }

  private:
    bool isReadyForMoreMediaData() const override {
        const std::lock_guard lock(mutex_);
        return hasRoom();
    }
    bool waitUntilReady(double seconds) override {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                          [this] { return status_ != Status::writing || hasRoom(); });
        return hasRoom();
    }
    bool append(const SampleBuffer& sample) override {
        if (!sample.image || sample.image->width() != settings_.width ||
            sample.image->height() != settings_.height)
            return false;
        {
            const std::lock_guard lock(mutex_);
            if (!hasRoom()) return false;
            ++waiting_;
        }
        return queue_.tryPush(sample);
    }
    void markAsFinished() override { queue_.close(); }
    PixelBufferPool* pixelBufferPool() override { return pool_.get(); }

    bool hasRoom() const { return status_ == Status::writing && waiting_ < queuedPictures; }

    /// The first end counts.
    void end(Status status, std::optional<PlatformError> error) {
        {
            const std::lock_guard lock(mutex_);
            if (status_ != Status::writing && status_ != Status::unknown) return;
            status_ = status;
            error_ = std::move(error);
        }
        queue_.discard();
        changed_.notify_all();
    }

    void run() {
        try {
            double shownUntil = 0;
            while (const auto sample = queue_.pop()) {
                {
                    const std::lock_guard lock(mutex_);
                    --waiting_;
                }
                changed_.notify_all();
                const double time = sample->presentationTime.seconds() - start_;
                shownUntil = time + 1 / settings_.expectedFrameRate;
                // The same picture again shows nothing new.
                if (sample->image != last_ || !pictures_->isSettled())
                    pictures_->add(bgra(*sample->image), time);
                last_ = sample->image;
            }
            if (status() != Status::writing) return;
            pictures_->finish(shownUntil);
            end(Status::completed, std::nullopt);
        } catch (const PlatformError& problem) {
            end(Status::failed, problem);
        } catch (const std::exception& problem) {
            end(Status::failed,
                PlatformError("Gif", -1, "Writing " + path_.string() + " failed: " + problem.what() + "."));
        }
    }

    const PixelBuffer& bgra(const PixelBuffer& picture) {
        if (picture.format() == PixelFormat::bgra) return picture;
        if (!converted_)
            converted_ = std::make_unique<PixelBuffer>(PixelFormat::bgra, settings_.width, settings_.height);
        convertPixels(picture, *converted_);
        return *converted_;
    }

    std::filesystem::path path_;
    VideoSettings settings_;
    double start_ = 0;
    std::unique_ptr<PixelBufferPool> pool_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Status status_ = Status::unknown;
    std::optional<PlatformError> error_;
    std::size_t waiting_ = 0;  // pictures in the queue
    BoundedQueue<SampleBuffer> queue_{queuedPictures};

    // the encoder thread's
    std::unique_ptr<gif::GifPictures> pictures_;
    std::unique_ptr<PixelBuffer> converted_;
    ConstPixelBufferRef last_;

    NamedThread thread_, finisher_;
};

}  // namespace

std::unique_ptr<AssetWriter> makeGifWriter(const std::filesystem::path& path) {
    return std::make_unique<GifWriter>(path);
}

}  // namespace platform

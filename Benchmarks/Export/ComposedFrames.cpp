#include "Export/ComposedFrames.hpp"

#include <fstream>
#include <list>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace cobaltreel::benchmarks {
namespace {

using namespace platform;

class FrameInput final : public AssetWriterInput {
  public:
    FrameInput(std::ofstream* file, int width, int height) : file_(file) {
        if (file != nullptr) pool_.emplace(PixelFormat::i420, width, height, 8);
    }
    bool isReadyForMoreMediaData() const override { return true; }
    bool waitUntilReady(double) override { return true; }
    bool append(const SampleBuffer& sample) override {
        if (file_ == nullptr) return true;
        for (int i = 0; i < 3; ++i) {
            const Plane& plane = sample.image->plane(i);
            for (int y = 0; y < plane.height; ++y)
                file_->write(
                    reinterpret_cast<const char*>(plane.data) + static_cast<std::ptrdiff_t>(y) * plane.stride,
                    plane.width);
        }
        return file_->good();
    }
    void markAsFinished() override {}
    PixelBufferPool* pixelBufferPool() override { return pool_ ? &*pool_ : nullptr; }

  private:
    std::ofstream* file_;  // null for sound
    std::optional<PixelBufferPool> pool_;
};

class FrameWriter final : public AssetWriter {
  public:
    explicit FrameWriter(const std::filesystem::path& path) : file_(path, std::ios::binary) {}
    AssetWriterInput& addVideoInput(const VideoSettings& settings) override {
        return inputs_.emplace_back(&file_, settings.width, settings.height);
    }
    AssetWriterInput& addAudioInput(const AudioSettings&) override {
        return inputs_.emplace_back(nullptr, 0, 0);
    }
    void setChapters(const std::vector<Chapter>&) override {}
    bool startWriting() override { return file_.is_open(); }
    void startSession(MediaTime) override {}
    Status status() const override { return status_; }
    std::optional<PlatformError> error() const override { return std::nullopt; }
    std::optional<MediaTime> flush() override { return std::nullopt; }
    void finishWriting(std::function<void()> done) override {
        file_.close();
        status_ = file_.fail() ? Status::failed : Status::completed;
        done();
    }
    void cancelWriting() override { status_ = Status::cancelled; }

  private:
    std::ofstream file_;
    std::list<FrameInput> inputs_;
    Status status_ = Status::writing;
};

class KeepingMedia final : public MediaService {
  public:
    explicit KeepingMedia(std::shared_ptr<MediaService> media) : media_(std::move(media)) {}
    std::shared_ptr<Asset> asset(const std::filesystem::path& path) override { return media_->asset(path); }
    std::unique_ptr<AssetReader> makeTrackReader(const std::shared_ptr<Asset>& asset, const AssetTrack& track,
                                                 const TimeRange& range, PixelFormat format) override {
        return media_->makeTrackReader(asset, track, range, format);
    }
    std::unique_ptr<AssetReader> makeAudioMixReader(const Composition& composition) override {
        return media_->makeAudioMixReader(composition);
    }
    std::unique_ptr<AudioMix> makeAudioMix(const Composition& composition) override {
        return media_->makeAudioMix(composition);
    }
    std::unique_ptr<AssetWriter> makeWriter(const std::filesystem::path& path, FileType) override {
        return std::make_unique<FrameWriter>(path);
    }
    std::vector<EncoderReport> encoders() override { return {}; }
    std::string implementation() const override { return "frames"; }

  private:
    std::shared_ptr<MediaService> media_;
};

}  // namespace

std::shared_ptr<MediaService> keepingFrames(std::shared_ptr<MediaService> media) {
    return std::make_shared<KeepingMedia>(std::move(media));
}

ComposedFrames::ComposedFrames(const std::filesystem::path& file, int width, int height)
    : width_(width),
      height_(height),
      frameBytes_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 / 2),
      bytes_(std::filesystem::file_size(file)) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    // Read ahead, so that no page fault counts as encoding.
    void* memory = descriptor < 0
                       ? MAP_FAILED
                       : mmap(nullptr, bytes_, PROT_READ, MAP_SHARED | MAP_POPULATE, descriptor, 0);
    if (descriptor >= 0) close(descriptor);
    if (memory == MAP_FAILED) throw std::runtime_error("the composed frames cannot be read");
    memory_ = static_cast<std::uint8_t*>(memory);
    count_ = static_cast<std::int64_t>(bytes_ / frameBytes_);
}

ComposedFrames::~ComposedFrames() { munmap(memory_, bytes_); }

ConstPixelBufferRef ComposedFrames::at(std::int64_t index) const {
    std::uint8_t* luma = memory_ + static_cast<std::size_t>(index) * frameBytes_;
    std::uint8_t* u = luma + static_cast<std::ptrdiff_t>(width_) * height_;
    std::uint8_t* v = u + static_cast<std::ptrdiff_t>(width_ / 2) * (height_ / 2);
    return std::make_shared<PixelBuffer>(PixelFormat::i420, width_, height_,
                                         std::array<Plane, 3>{Plane{luma, width_, width_, height_},
                                                              Plane{u, width_ / 2, width_ / 2, height_ / 2},
                                                              Plane{v, width_ / 2, width_ / 2, height_ / 2}},
                                         nullptr);
}

}  // namespace cobaltreel::benchmarks

#include "Cobaltreel/Capture/CameraMicRecorder.hpp"

#include "Cobaltreel/Capture/Awaiting.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <system_error>
#include <utility>

namespace cobaltreel {

using platform::AssetWriter;
using platform::CaptureDevice;
using platform::CaptureEvent;
using platform::MediaType;
using platform::PlatformError;
using platform::SampleBuffer;

namespace {

constexpr std::int64_t cameraBitRate = 4'000'000;
constexpr double stallTick = 1.0;  // seconds
constexpr int ticksUntilStalled = 3;
constexpr double secondsUntilSilent = 3.0;
/// Below this level (a peak of about -66 dBFS) nobody speaks into the microphone.
constexpr float silenceLevel = 0.05F;

}  // namespace

/// The movie being written: the writer owns its inputs.
struct CameraMicRecorder::OpenMovie {
    std::filesystem::path path;
    std::shared_ptr<AssetWriter> writer;
    platform::AssetWriterInput* videoInput = nullptr;
    platform::AssetWriterInput* audioInput = nullptr;
};

/// Waits until the `finishWriting` that is under way has ended.
class CameraMicRecorder::AwaitEarlierFinish {
  public:
    explicit AwaitEarlierFinish(CameraMicRecorder& recorder) : recorder_(recorder) {}
    bool await_ready() const { return !recorder_.finishing_; }
    void await_suspend(std::coroutine_handle<> continuation) {
        recorder_.waitingForFinish_.push_back(continuation);
    }
    void await_resume() const {}

  private:
    CameraMicRecorder& recorder_;
};

CameraMicRecorder::CameraMicRecorder(std::shared_ptr<platform::CaptureService> capture,
                                     std::shared_ptr<platform::MediaService> media,
                                     std::shared_ptr<platform::MainLoop> mainLoop)
    : media_(std::move(media)), mainLoop_(std::move(mainLoop)), session_(capture->makeSession()) {
    const auto handle = lifetime_.guard([this](const CaptureEvent& event) { onEvent(event); });
    session_->setEventHandler([handle, loop = mainLoop_](const CaptureEvent& event) {
        loop->post([handle, event] { handle(event); });
    });
}

CameraMicRecorder::~CameraMicRecorder() = default;

void CameraMicRecorder::startPreview(std::optional<CaptureDevice> camera, std::optional<CaptureDevice> mic,
                                     bool mirror) {
    ++previewRequests_;
    wantCamera_ = camera.has_value();
    if (pendingConfig_) pendingConfig_->cancel();
    cameraWatch_ = {camera, picturesSeen_, 0};
    micWatch_ = {mic, soundsSeen_, 0};
    if (!stallTimer_) stallTimer_ = mainLoop_->scheduleRepeating(stallTick, [this] { watchForStalls(); });
    pendingConfig_.emplace([this, camera = std::move(camera), mic = std::move(mic), mirror] {
        reconfigure(camera, mic, mirror);
    });
    configQueue_.async(*pendingConfig_);
}

void CameraMicRecorder::reconfigure(const std::optional<CaptureDevice>& camera,
                                    const std::optional<CaptureDevice>& mic, bool mirror) {
    session_->beginConfiguration();
    session_->removeAllInputs();
    session_->removeAllOutputs();
    session_->setPreset({pictureWidth, pictureHeight, 1});
    if (mic) addInput(*mic);
    if (camera) addInput(*camera);
    const auto handler = [this](const SampleBuffer& sample) { receive(sample); };
    if (mic) session_->addOutput(MediaType::audio, ioQueue_, handler);
    if (camera) {
        session_->addOutput(MediaType::video, ioQueue_, handler);
        session_->setVideoMirrored(mirror);
    }
    session_->commitConfiguration();
    ioQueue_.async([this, mic] {
        mic_ = mic;
        silentSince_.reset();
    });
    if (!session_->isRunning()) session_->startRunning();
}

void CameraMicRecorder::addInput(const CaptureDevice& device) {
    try {
        session_->addInput(device);
    } catch (const PlatformError& error) {
        // The session runs with what there is.
        report(CaptureEvent::Kind::failed, device, error.description());
    }
}

void CameraMicRecorder::setPreviewFrameHandler(PreviewFrameHandler handler) {
    ioQueue_.async([this, handler = std::move(handler)] { onPreviewFrame_ = handler; });
}

std::unique_ptr<CameraMicRecorder::OpenMovie> CameraMicRecorder::openMovie(
    const std::filesystem::path& outputPath, bool withCamera) {
    auto movie = std::make_unique<OpenMovie>();
    movie->path = outputPath;
    movie->writer = media_->makeWriter(outputPath, platform::FileType::quickTimeMovie);
    if (withCamera)
        movie->videoInput = &movie->writer->addVideoInput({.codec = platform::VideoCodec::h264,
                                                           .width = pictureWidth,
                                                           .height = pictureHeight,
                                                           .averageBitRate = cameraBitRate,
                                                           .expectedFrameRate = 30,
                                                           .expectsMediaDataInRealTime = true,
                                                           .matrix = pictureMatrix_});
    movie->audioInput = &movie->writer->addAudioInput(
        {.sampleRate = 48000, .channels = 1, .bitRate = 128000, .expectsMediaDataInRealTime = true});
    if (!movie->writer->startWriting()) {
        if (const auto error = movie->writer->error()) throw *error;
        throw PlatformError("Cobaltreel.CameraMic", 2, "startWriting");
    }
    return movie;
}

QCoro::Task<void> CameraMicRecorder::beginWriting(std::filesystem::path outputPath) {
    const bool withCamera = wantCamera_;
    writingError_.reset();
    // Opening an encoder takes longer than the main thread may be kept. The movie is published from the
    // same piece of work, so that a `stop` queued behind it finds the movie there.
    co_await AwaitOnQueue(*mainLoop_, configQueue_, [this, &outputPath, withCamera] {
        auto movie = openMovie(outputPath, withCamera);
        ioQueue_.sync([this, &movie] {
            movie_ = std::move(movie);
            noteBeginning(std::nullopt);
            silentSince_.reset();
            listensForSilence_ = true;
            picturesWritten_ = picturesDropped_ = soundsWritten_ = soundsDropped_ = 0;
            writing_ = true;
        });
    });
}

void CameraMicRecorder::receive(const SampleBuffer& sample) {
    if (sample.audio) {
        ++soundsSeen_;
        const float level = peakLevel(sample);
        currentMicLevel_ = level;
        if (writing_ && listensForSilence_) listenForSilence(sample, level);
    } else {
        ++picturesSeen_;
        if (sample.image && sample.image->format() == platform::PixelFormat::i420)
            pictureMatrix_ = sample.image->matrix();
        if (onPreviewFrame_ && sample.image) onPreviewFrame_(sample.image);
    }
    if (!writing_ || !movie_) return;
    const auto status = movie_->writer->status();
    if (status == AssetWriter::Status::writing) write(sample);
    if (status == AssetWriter::Status::failed) giveUpWriting();
}

void CameraMicRecorder::giveUpWriting() {
    writing_ = false;
    mainLoop_->post(lifetime_.guard([this, error = movie_->writer->error()] { writingError_ = error; }));
}

void CameraMicRecorder::write(const SampleBuffer& sample) {
    if (!firstPTS_) {
        movie_->writer->startSession(sample.presentationTime);
        noteBeginning(sample.presentationTime.seconds());
    }
    auto* input = sample.audio ? movie_->audioInput : movie_->videoInput;
    const bool written = input && input->isReadyForMoreMediaData() && input->append(sample);
    if (sample.audio)
        ++(written ? soundsWritten_ : soundsDropped_);
    else
        ++(written ? picturesWritten_ : picturesDropped_);
}

/// Of the movie that is open; absent: it has not begun.
void CameraMicRecorder::noteBeginning(std::optional<double> firstPTS) {
    const std::lock_guard lock(keptLock_);
    firstPTS_ = firstPTS;
    keptWriter_ = firstPTS ? movie_->writer : nullptr;
}

std::optional<double> CameraMicRecorder::firstPTS() const {
    const std::lock_guard lock(keptLock_);
    return firstPTS_;
}

std::optional<double> CameraMicRecorder::flush() {
    std::shared_ptr<AssetWriter> writer;
    {
        const std::lock_guard lock(keptLock_);
        writer = keptWriter_;
    }
    const auto end = writer ? writer->flush() : std::nullopt;
    return end ? std::optional(end->seconds()) : std::nullopt;
}

void CameraMicRecorder::listenForSilence(const SampleBuffer& sound, float level) {
    const double time = sound.presentationTime.seconds();
    if (level >= silenceLevel) {
        listensForSilence_ = false;
        return;
    }
    if (!silentSince_) silentSince_ = time;
    if (time - *silentSince_ < secondsUntilSilent) return;
    listensForSilence_ = false;
    if (mic_)
        report(CaptureEvent::Kind::silent, *mic_,
               "Nothing is heard from \"" + mic_->name +
                   "\". Check that it is not muted, or choose another microphone.");
}

float CameraMicRecorder::peakLevel(const SampleBuffer& sample) {
    if (!sample.audio || sample.audio->bytes.empty()) return 0;
    float peak = 0;
    if (sample.audio->format.isFloat) {
        for (const float value : sample.audio->floats()) peak = std::max(peak, std::abs(value));
    } else {
        const auto& bytes = sample.audio->bytes;
        int largest = 0;
        for (std::size_t i = 0; i + sizeof(std::int16_t) <= bytes.size(); i += sizeof(std::int16_t)) {
            std::int16_t value = 0;
            std::memcpy(&value, &bytes[i], sizeof value);
            largest = std::max(largest, std::abs(static_cast<int>(value)));
        }
        peak = static_cast<float>(largest) * (1.0F / 32768.0F);
    }
    return std::min(std::sqrt(peak) * 2.2F, 1.0F);
}

QCoro::Task<void> CameraMicRecorder::finishWriting() {
    if (finishing_) {
        co_await AwaitEarlierFinish(*this);
        co_return;
    }
    finishing_ = true;
    AssetWriter* writer = nullptr;
    co_await AwaitOnQueue(*mainLoop_, ioQueue_, [&] {
        writing_ = false;
        if (!movie_) return;
        if (movie_->videoInput) movie_->videoInput->markAsFinished();
        if (movie_->audioInput) movie_->audioInput->markAsFinished();
        writer = movie_->writer.get();
    });
    if (writer && writer->status() == AssetWriter::Status::writing) {
        co_await AwaitCompletion(*mainLoop_, [&](auto done) {
            writer->finishWriting([done = std::move(done)] { done(std::nullopt); });
        });
    }
    if (writer && writer->status() == AssetWriter::Status::failed) writingError_ = writer->error();
    co_await AwaitOnQueue(*mainLoop_, ioQueue_, [this] {
        const auto unused = movie_ && !firstPTS_ ? movie_->path : std::filesystem::path();
        movie_.reset();
        // Without a camera and a microphone there is nothing in it.
        std::error_code ignored;
        if (!unused.empty()) std::filesystem::remove(unused, ignored);
        std::shared_ptr<AssetWriter> finished;
        const std::lock_guard lock(keptLock_);
        finished.swap(keptWriter_);
    });
    finishing_ = false;
    for (const auto waiting : std::exchange(waitingForFinish_, {}))
        mainLoop_->post([waiting] { waiting.resume(); });
}

QCoro::Task<void> CameraMicRecorder::stop() {
    const auto requests = previewRequests_;
    // A movie that is being opened, or a configuration under way, comes first.
    co_await AwaitOnQueue(*mainLoop_, configQueue_, [] {});
    bool hasMovie = false;
    co_await AwaitOnQueue(*mainLoop_, ioQueue_, [&] { hasMovie = movie_ != nullptr; });
    if (hasMovie) co_await finishWriting();
    // The preview that was begun meanwhile is not this one's to stop.
    if (requests != previewRequests_) co_return;
    wantCamera_ = false;
    stallTimer_.reset();
    co_await AwaitOnQueue(*mainLoop_, configQueue_, [this] {
        if (session_->isRunning()) session_->stopRunning();
        session_->beginConfiguration();
        session_->removeAllInputs();
        session_->removeAllOutputs();
        session_->commitConfiguration();
    });
}

void CameraMicRecorder::watchForStalls() {
    const auto watch = [this](StallWatch& state, std::uint64_t seen, const char* what) {
        const bool isBack = seen != state.seen && state.quietTicks >= ticksUntilStalled;
        state.quietTicks = seen == state.seen ? state.quietTicks + 1 : 0;
        state.seen = seen;
        if (state.device && isBack)
            onEvent(
                {CaptureEvent::Kind::returned, *state.device, "\"" + state.device->name + "\" sends again."});
        if (state.device && state.quietTicks == ticksUntilStalled)
            onEvent({CaptureEvent::Kind::stalled, *state.device,
                     "\"" + state.device->name + "\" sends no " + what +
                         ". Plug it in again, or choose another one."});
    };
    watch(cameraWatch_, picturesSeen_, "picture");
    watch(micWatch_, soundsSeen_, "sound");
}

void CameraMicRecorder::report(CaptureEvent::Kind kind, const CaptureDevice& device, std::string message) {
    mainLoop_->post(
        lifetime_.guard([this, event = CaptureEvent{kind, device, std::move(message)}] { onEvent(event); }));
}

void CameraMicRecorder::onEvent(const CaptureEvent& event) {
    // A device that is known to be gone is not missed a second time.
    auto& watch = event.device.type == MediaType::video ? cameraWatch_ : micWatch_;
    if (event.kind == CaptureEvent::Kind::lost || event.kind == CaptureEvent::Kind::failed)
        watch.device.reset();
    if (event.kind == CaptureEvent::Kind::returned) watch = {event.device, watch.seen, 0};
    if (onDeviceEvent) onDeviceEvent(event);
}

CameraMicRecorder::Statistics CameraMicRecorder::statistics() const {
    return {picturesWritten_, picturesDropped_, soundsWritten_, soundsDropped_};
}

}  // namespace cobaltreel

#include "Cobaltreel/Capture/ScreenRecorder.hpp"

#include "Cobaltreel/Capture/Awaiting.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cobaltreel {

using platform::AssetWriter;
using platform::CapturedSample;
using platform::PlatformError;
using platform::StreamOutputType;

namespace {

constexpr double capturedFramesPerSecond = 60;
constexpr std::int64_t screenBitRate = 20'000'000;

int grownToEven(double points, double scale) {
    const int pixels = static_cast<int>(scale * points);
    return pixels > 0 && pixels % 2 != 0 ? pixels + 1 : pixels;
}

}  // namespace

ScreenRecorder::ScreenRecorder(std::shared_ptr<platform::ScreenCaptureService> capture,
                               std::shared_ptr<platform::MediaService> media,
                               std::shared_ptr<platform::MainLoop> mainLoop)
    : capture_(std::move(capture)), media_(std::move(media)), mainLoop_(std::move(mainLoop)) {}

ScreenRecorder::~ScreenRecorder() = default;

ScreenRecorder::Target ScreenRecorder::displayTarget(const platform::Display& display, double scale,
                                                     const std::string& excludingAppBundleID,
                                                     const platform::ShareableContent& from) {
    platform::DisplayContentFilter filter{display, {}};
    std::copy_if(from.applications.begin(), from.applications.end(),
                 std::back_inserter(filter.excludingApplications),
                 [&](const auto& app) { return app.bundleIdentifier == excludingAppBundleID; });
    return {std::move(filter), static_cast<int>(display.width() * scale),
            static_cast<int>(display.height() * scale)};
}

ScreenRecorder::Target ScreenRecorder::windowTarget(const platform::Window& window, double scale) {
    return {platform::WindowContentFilter{window}, grownToEven(window.frame.w, scale),
            grownToEven(window.frame.h, scale)};
}

void ScreenRecorder::openWriter(const Target& target, const std::filesystem::path& outputPath,
                                bool captureSystemAudio) {
    input_ = nullptr;
    audioInput_ = nullptr;
    const std::shared_ptr writer = media_->makeWriter(outputPath, platform::FileType::quickTimeMovie);
    auto& input = writer->addVideoInput({.codec = platform::VideoCodec::hevc,
                                         .width = target.width,
                                         .height = target.height,
                                         .averageBitRate = screenBitRate,
                                         .expectedFrameRate = capturedFramesPerSecond,
                                         .expectsMediaDataInRealTime = true});
    platform::AssetWriterInput* audioInput =
        captureSystemAudio
            ? &writer->addAudioInput(
                  {.sampleRate = 48000, .channels = 2, .bitRate = 128000, .expectsMediaDataInRealTime = true})
            : nullptr;
    if (!writer->startWriting()) {
        if (const auto error = writer->error()) throw *error;
        throw PlatformError("Cobaltreel", 1, "writing " + outputPath.string() + " could not be started");
    }
    input_ = &input;
    audioInput_ = audioInput;
    const std::lock_guard lock(startLock_);
    writer_ = writer;
}

QCoro::Task<void> ScreenRecorder::start(Target target, std::filesystem::path outputPath,
                                        bool captureSystemAudio) {
    {
        const std::lock_guard lock(startLock_);
        firstPTS_.reset();
        sessionStarted_ = false;
    }
    failedWriting_.reset();
    offered_ = written_ = dropped_ = 0;

    // Opening an encoder takes longer than the main thread may be kept.
    co_await AwaitOnQueue(*mainLoop_, captureQueue_,
                          [&] { openWriter(target, outputPath, captureSystemAudio); });

    platform::StreamConfiguration configuration;
    configuration.width = target.width;
    configuration.height = target.height;
    configuration.minimumFrameInterval = {1, 60};
    configuration.showsCursor = true;
    configuration.capturesAudio = captureSystemAudio;
    configuration.sampleRate = 48000;
    configuration.channelCount = 2;
    configuration.excludesCurrentProcessAudio = true;
    configuration.pixelFormat = platform::PixelFormat::bgra;
    configuration.acceptsPlanar = true;
    configuration.queueDepth = 8;

    const auto fail = lifetime_.guard([this](const PlatformError& error) {
        if (onError) onError(error);
    });
    auto stream = capture_->makeStream(target.filter, configuration,
                                       [fail, mainLoop = mainLoop_](const PlatformError& error) {
                                           mainLoop->post([fail, error] { fail(error); });
                                       });
    stream->addOutput(StreamOutputType::screen, captureQueue_,
                      [this](const CapturedSample& sample) { receiveVideo(sample); });
    if (captureSystemAudio)
        stream->addOutput(StreamOutputType::audio, audioQueue_,
                          [this](const CapturedSample& sample) { receiveAudio(sample); });

    const auto failure =
        co_await AwaitCompletion(*mainLoop_, [&](auto done) { stream->startCapture(std::move(done)); });
    if (failure) throw *failure;
    stream_ = std::move(stream);
}

void ScreenRecorder::receiveVideo(const CapturedSample& sample) {
    if (!sample.buffer.image || sample.status != platform::FrameStatus::complete) return;
    offered_ += 1 + sample.droppedBefore;
    dropped_ += sample.droppedBefore;
    if (!firstPTS_) {
        const std::lock_guard lock(startLock_);
        if (writer_) writer_->startSession(sample.buffer.presentationTime);
        firstPTS_ = sample.buffer.presentationTime.seconds();
        sessionStarted_ = true;
    }
    // While this waits the stream keeps its own pictures back and delivers the newest afterwards. Dropped
    // here, the last one before the screen stands still would be missing until it changes again.
    constexpr double patience = 1;  // seconds
    if (input_ && input_->waitUntilReady(patience) && input_->append(sample.buffer)) {
        ++written_;
        const std::lock_guard lock(startLock_);
        lastWritten_ = sample.buffer.presentationTime.seconds();
    } else {
        ++dropped_;
    }
}

std::optional<double> ScreenRecorder::flush(double now) {
    constexpr double rounding = 0.001;  // of the movie's time stamps, with room
    std::shared_ptr<AssetWriter> writer;
    double lastWritten = 0;
    {
        const std::lock_guard lock(startLock_);
        if (sessionStarted_) writer = writer_;
        lastWritten = lastWritten_;
    }
    const auto end = writer ? writer->flush() : std::nullopt;
    if (!end) return std::nullopt;
    const bool holdsAll = end->seconds() + rounding >= lastWritten;
    return holdsAll ? std::max(end->seconds(), now) : end->seconds();
}

std::optional<double> ScreenRecorder::firstPTS() const {
    const std::lock_guard lock(startLock_);
    return firstPTS_;
}

void ScreenRecorder::receiveAudio(const CapturedSample& sample) {
    {
        const std::lock_guard lock(startLock_);
        if (!sessionStarted_) return;
    }
    if (audioInput_ && audioInput_->isReadyForMoreMediaData()) audioInput_->append(sample.buffer);
}

QCoro::Task<void> ScreenRecorder::stop() {
    if (stream_) {
        // Whatever stopping the stream says, the movie is completed.
        co_await AwaitCompletion(*mainLoop_, [&](auto done) { stream_->stopCapture(std::move(done)); });
        stream_.reset();
    }
    if (input_) input_->markAsFinished();
    if (audioInput_) audioInput_->markAsFinished();
    if (writer_ && writer_->status() == AssetWriter::Status::writing) {
        co_await AwaitCompletion(*mainLoop_, [&](auto done) {
            writer_->finishWriting([done = std::move(done)] { done(std::nullopt); });
        });
    }
    failedWriting_ = writingError();
    input_ = nullptr;
    audioInput_ = nullptr;
    std::shared_ptr<AssetWriter> finished;
    const std::lock_guard lock(startLock_);
    finished.swap(writer_);
}

std::optional<PlatformError> ScreenRecorder::writingError() const {
    if (!writer_ || writer_->status() != AssetWriter::Status::failed) return failedWriting_;
    return writer_->error();
}

ScreenRecorder::Statistics ScreenRecorder::statistics() const { return {offered_, written_, dropped_}; }

}  // namespace cobaltreel

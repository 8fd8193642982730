#include "Cobaltreel/Export/ExportRenderer.hpp"

#include "Cobaltreel/Scene/SceneRenderer.hpp"
#include "CobaltreelCore/Transforms.hpp"
#include "CobaltreelCore/TrimMath.hpp"
#include "Platform/Foundation/DurableFiles.hpp"

#include <algorithm>
#include <cmath>
#include <future>
#include <limits>
#include <utility>

namespace cobaltreel {

using platform::AssetReader;
using platform::AssetTrack;
using platform::AssetWriter;
using platform::AssetWriterInput;
using platform::MediaTime;
using platform::MediaType;
using platform::PixelFormat;
using platform::PlatformError;
using platform::TimeRange;

namespace {

/// Sound is kept this far ahead of the picture, seconds.
constexpr double audioLead = 0.5;
/// After the last frame sound is taken up to this long past the end, seconds.
constexpr double audioTail = 1.5;
/// The encoder is asked again after this long, seconds, so that a cancellation is never waited for.
constexpr double readinessPoll = 0.002;

std::vector<AssetTrack> tracksOrNone(platform::Asset& asset, MediaType type) {
    try {
        return asset.loadTracks(type);
    } catch (const PlatformError&) {
        return {};
    }
}

ExportTiming timingOf(const SessionMeta& meta, double trimStart, double trimEnd) {
    const double screenFirst = meta.screenFirstPTS.value_or(0);
    return {trimStart, trimEnd, screenFirst, meta.cameraFirstPTS.value_or(screenFirst)};
}

/// A timescale in which the times of all frames are exact.
std::int32_t timescaleOf(int framesPerSecond) {
    constexpr std::int32_t usual = 600;
    return usual % framesPerSecond == 0 ? usual : usual * framesPerSecond;
}

platform::FileType fileType(ExportFormat format) {
    switch (format) {
        case ExportFormat::webm:
            return platform::FileType::webm;
        case ExportFormat::gif:
            return platform::FileType::gif;
        case ExportFormat::mp4:
            break;
    }
    return platform::FileType::mpeg4;
}

[[noreturn]] void throwErrorOf(const AssetWriter& writer, const char* stage) {
    if (const auto error = writer.error()) throw *error;
    throw ExportRenderer::Error::setup(stage);
}

}  // namespace

/// What one run of the export holds between its steps.
struct ExportRenderer::Run {
    const ExportOptions& options;
    int wOut;
    int hOut;
    double duration;
    std::int64_t frames;
    FrameComposer composer;
    SceneRenderer renderer;
    FrameSource screen;
    std::optional<FrameSource> camera;
    std::unique_ptr<AssetReader> audio;  // null once there is no sound or no more of it
    std::unique_ptr<AssetWriter> writer;
    AssetWriterInput* videoInput = nullptr;
    AssetWriterInput* audioInput = nullptr;
    double audioEnd = -std::numeric_limits<double>::infinity();  // time of the last run of sound appended
    std::optional<PlatformError> audioError{};                   // why there is no more of it
    std::int64_t written = 0;                                    // frames
    std::optional<Scene> lastScene{};
    platform::PixelBufferRef lastRendered{};
};

ExportRenderer::ExportRenderer(SessionFolder folder, SessionMeta meta,
                               std::shared_ptr<platform::MediaService> media,
                               std::shared_ptr<platform::VisionService> vision)
    : folder_(std::move(folder)),
      meta_(std::move(meta)),
      media_(std::move(media)),
      vision_(std::move(vision)) {}

ExportRenderer::~ExportRenderer() = default;

std::int64_t ExportRenderer::frameCount(double duration, int rate) {
    constexpr double most = 1e15;  // keeps the conversion defined for any duration
    return static_cast<std::int64_t>(std::clamp(std::floor(duration * rate), 1.0, most));
}

std::vector<Click> ExportRenderer::clicksInOutputTime(const EventLog& log, const SessionMeta& meta,
                                                      double trimStart, double trimEnd) {
    const double mainScreenHeight = meta.mainScreenHeightPoints.value_or(meta.displayFramePoints.h);
    const ExportTiming timing = timingOf(meta, trimStart, trimEnd);
    std::vector<Click> kept;
    for (Click click : Transforms::clicks(log, meta, mainScreenHeight)) {
        click.t = timing.outputTime(click.t);
        if (click.t >= 0 && click.t <= timing.duration()) kept.push_back(click);
    }
    return kept;
}

void ExportRenderer::planClicksAndZoom(const ExportOptions& options) {
    preparedClicks_.clear();
    zoomMoves_.clear();
    if (!options.clickRipples && !options.autoZoom) return;
    EventLog log;
    try {
        log = folder_.readEvents();
        preparedClicks_ = clicksInOutputTime(log, meta_, options.trimStart, options.trimEnd);
    } catch (const std::exception&) {
        // Without its pointer log a session exports without zoom and ripples.
        return;
    }
    if (!options.autoZoom) return;
    zoomMoves_ =
        planZoom(options.zoomTiming, log, meta_, preparedClicks_, options.trimStart, options.trimEnd);
}

std::vector<platform::Chapter> ExportRenderer::chapters(const ExportOptions& options) const {
    std::vector<platform::Chapter> result;
    try {
        const ExportTiming timing = timingOf(meta_, options.trimStart, options.trimEnd);
        for (Chapter& each : Chapters::ofMarkers(folder_.readEvents().markers, timing, options.chapterNames))
            result.push_back({each.start, each.end, std::move(each.title)});
    } catch (const std::exception&) {
        // Without its log a session exports without chapters.
    }
    return result;
}

std::unique_ptr<AssetReader> ExportRenderer::openScreen(const ExportOptions& options) {
    const auto asset = media_->asset(folder_.screenMovie());
    const auto tracks = asset->loadTracks(MediaType::video);
    if (tracks.empty()) throw Error::setup("no screen track");
    auto reader = media_->makeTrackReader(asset, tracks.front(), {options.trimStart, options.trimEnd},
                                          PixelFormat::i420);
    if (!reader->startReading()) throw Error::setup("screen reader");
    return reader;
}

std::unique_ptr<AssetReader> ExportRenderer::openCamera(const ExportOptions& options,
                                                        const ExportTiming& timing) {
    if (!options.bubble || !meta_.cameraEnabled) return nullptr;
    const auto asset = media_->asset(folder_.cameraMovie());
    const auto tracks = tracksOrNone(*asset, MediaType::video);
    const TimeRange range{std::max(0.0, timing.cameraTime(0)), timing.cameraTime(timing.duration())};
    // A camera that began after the kept span has nothing to show in it.
    if (tracks.empty() || range.duration() <= 0) return nullptr;
    auto reader = media_->makeTrackReader(asset, tracks.front(), range, PixelFormat::i420);
    if (!reader->startReading()) throw Error::setup("camera reader");
    return reader;
}

std::unique_ptr<AssetReader> ExportRenderer::openAudioMix(const ExportOptions& options,
                                                          const ExportTiming& timing) {
    platform::Composition composition;
    const auto insert = [&](const std::filesystem::path& movie, double from, double to, double at) {
        const auto asset = media_->asset(movie);
        const auto tracks = tracksOrNone(*asset, MediaType::audio);
        if (tracks.empty()) return;
        auto& track = composition.addMutableTrack(MediaType::audio);
        const TimeRange source{from, std::min(to, tracks.front().timeRange.end)};
        if (source.start >= source.end) return;
        try {
            track.insertTimeRange(source, asset, tracks.front(), at);
        } catch (const PlatformError&) {
            // A source that cannot be placed is silent.
        }
    };
    const double cameraStart = timing.cameraTime(0);
    insert(folder_.cameraMovie(), std::max(0.0, cameraStart), timing.cameraTime(timing.duration()),
           std::max(0.0, -cameraStart));
    if (options.systemAudio) insert(folder_.screenMovie(), options.trimStart, options.trimEnd, 0);
    if (composition.tracks().empty()) return nullptr;

    auto reader = media_->makeAudioMixReader(composition);
    if (!reader->startReading()) throw Error::setup("audio reader");
    return reader;
}

void ExportRenderer::exportMovie(const ExportOptions& options, std::stop_token stop) {
    cancelled = false;
    const std::stop_callback onStop(std::move(stop), [this] { cancelled = true; });
    if (cancelled) throw Error::cancelled();
    const OutputSize size = outputSize(options, meta_);
    const int wOut = static_cast<int>(size.w), hOut = static_cast<int>(size.h);
    const ExportTiming timing = timingOf(meta_, options.trimStart, options.trimEnd);
    const double duration = timing.duration();

    planClicksAndZoom(options);
    const FrameComposer composer({options, meta_, zoomMoves_, preparedClicks_, wOut, hOut});

    auto screenReader = openScreen(options);
    auto cameraReader = openCamera(options, timing);
    auto audioReader = options.format == ExportFormat::gif ? nullptr : openAudioMix(options, timing);

    platform::PendingFile file(options.outputPath);
    auto writer = media_->makeWriter(file.path(), fileType(options.format));
    const bool isWeb = options.format == ExportFormat::webm;
    auto& videoInput =
        writer->addVideoInput({.codec = isWeb ? platform::VideoCodec::vp9 : platform::VideoCodec::h264,
                               .width = wOut,
                               .height = hOut,
                               .averageBitRate = averageBitRate(options, size),
                               .expectedFrameRate = static_cast<double>(options.framesPerSecond),
                               .h264HighProfile = true,
                               .expectedDuration = duration + audioTail});
    AssetWriterInput* audioInput = audioReader
                                       ? &writer->addAudioInput({.sampleRate = 48000,
                                                                 .channels = 2,
                                                                 .bitRate = 128000,
                                                                 .codec = isWeb ? platform::AudioCodec::opus
                                                                                : platform::AudioCodec::aac})
                                       : nullptr;
    writer->setChapters(chapters(options));
    if (!writer->startWriting()) throwErrorOf(*writer, "writer");
    writer->startSession(MediaTime::fromSeconds(0));

    Run run{options,
            wOut,
            hOut,
            duration,
            frameCount(duration, options.framesPerSecond),
            composer,
            SceneRenderer(composer.layout(), vision_),
            FrameSource(std::move(screenReader), options.trimStart),
            std::nullopt,
            std::move(audioReader),
            std::move(writer),
            &videoInput,
            audioInput};
    if (cameraReader) run.camera.emplace(std::move(cameraReader), timing.cameraTime(0));

    runFrames(run);
    drainAudio(run);
    if (cancelled) {
        run.writer->cancelWriting();
        throw Error::cancelled();
    }
    finish(run);
    file.complete();
}

void ExportRenderer::runFrames(Run& run) {
    const int rate = run.options.framesPerSecond;
    const std::int32_t timescale = timescaleOf(rate);
    for (std::int64_t i = 0; i < run.frames; ++i) {
        if (cancelled) return;
        const double t = static_cast<double>(i) / rate;
        run.screen.advance(t);
        if (run.camera) run.camera->advance(t);
        appendAudio(run, t + audioLead);
        if (!run.screen.current()) continue;

        Scene scene =
            run.composer.compose(run.screen.current(), run.camera ? run.camera->current() : nullptr, t);
        if (scene != run.lastScene) {
            auto* pool = run.videoInput->pixelBufferPool();
            if (!pool) throw Error::setup("pool");
            run.lastRendered = pool->createPixelBuffer();
            if (!run.lastRendered) throw Error::setup("pixel buffer");
            run.renderer.render(scene, *run.lastRendered);
            run.lastScene = std::move(scene);
        }

        while (!run.videoInput->waitUntilReady(readinessPoll) && !cancelled &&
               run.writer->status() != AssetWriter::Status::failed) {
        }
        if (run.writer->status() == AssetWriter::Status::failed) throwErrorOf(*run.writer, "writer failed");
        if (cancelled) return;
        if (run.videoInput->append({MediaTime::fromSeconds(t, timescale), run.lastRendered, nullptr}))
            ++run.written;
        if (onProgress) onProgress(static_cast<double>(i + 1) / static_cast<double>(run.frames));
    }
}

void ExportRenderer::appendAudio(Run& run, double limit) {
    while (run.audio && run.audioInput->isReadyForMoreMediaData()) {
        const bool reading = run.audio->status() == AssetReader::Status::reading;
        auto sample = reading ? run.audio->copyNextSampleBuffer() : std::nullopt;
        if (!sample) {
            if (run.audio->status() == AssetReader::Status::failed) run.audioError = run.audio->error();
            run.audio.reset();
            return;
        }
        run.audioInput->append(*sample);
        run.audioEnd = sample->presentationTime.seconds();
        if (run.audioEnd > limit) return;
    }
}

void ExportRenderer::drainAudio(Run& run) {
    const double limit = run.duration + audioTail;
    while (run.audio && run.audioEnd <= limit && !cancelled &&
           run.writer->status() != AssetWriter::Status::failed) {
        appendAudio(run, limit);
        if (run.audio) run.audioInput->waitUntilReady(readinessPoll);
    }
}

void ExportRenderer::finish(Run& run) {
    run.videoInput->markAsFinished();
    if (run.audioInput) run.audioInput->markAsFinished();
    // Shared: the writer's thread may still be inside set_value when this one wakes.
    const auto finished = std::make_shared<std::promise<void>>();
    run.writer->finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    if (run.writer->status() == AssetWriter::Status::failed) throwErrorOf(*run.writer, "finish");
    // The movie holds what could be read. It must not pass for the whole recording, which may be deleted
    // once it has been exported.
    for (const auto& error :
         {run.screen.error(), run.camera ? run.camera->error() : std::nullopt, run.audioError})
        if (error) throw *error;
    if (run.written == 0)
        throw PlatformError("Cobaltreel", 5,
                            folder_.screenMovie().string() +
                                " holds no picture in what is kept of the recording. Keep more of it.");
}

}  // namespace cobaltreel

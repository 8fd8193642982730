#include "Cobaltreel/Export/ExportFixture.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"

#include <fstream>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using platform::FakeMovie;
using platform::MediaType;
using platform::PlatformError;
using platform::TimeRange;
using testing::ElementsAre;

class ExportRendererTest : public FakeExport {
  protected:
    void addCamera(double firstPTS, TimeRange sound) {
        meta.cameraEnabled = true;
        meta.cameraFirstPTS = firstPTS;
        options.bubble = true;
        auto movie = FakeMovie::withFrames(60, 30);
        movie.sound = sound;
        media->movies[folder.cameraMovie()] = movie;
    }
    void writeClicks(const std::vector<double>& hostTimes) {
        EventLog log;
        for (const double t : hostTimes) {
            log.samples.push_back({t - 0.001, 1, 1, 0});
            log.samples.push_back({t, 1, 1, 1});
        }
        folder.writeEvents(log);
    }
    std::string setupError() {
        try {
            run();
        } catch (const ExportRenderer::Error& error) {
            EXPECT_EQ(error.kind(), ExportRenderer::Error::Kind::setup);
            return error.what();
        }
        return "none";
    }
};

TEST_F(ExportRendererTest, EveryOutputFrameShowsTheScreenOfItsTime) {
    options.trimStart = 0.25;
    options.trimEnd = 0.75;
    const auto record = run();
    EXPECT_EQ(record->type, platform::FileType::mpeg4);
    EXPECT_EQ(record->videoSettings->averageBitRate, 20'000'000);
    EXPECT_TRUE(record->videoSettings->h264HighProfile);
    EXPECT_FALSE(record->videoSettings->expectsMediaDataInRealTime);
    ASSERT_EQ(record->video.size(), 15U);
    for (std::size_t i = 0; i < record->video.size(); ++i) {
        EXPECT_EQ(record->video[i].presentationTime.value, static_cast<std::int64_t>(i) * 20) << "of 600";
        // Frame k of the movie is at k/60 s and has the value k + 1; 0.25 s is frame 15.
        EXPECT_NEAR(luma(record->video[i]), 16 + 2 * static_cast<int>(i), 1) << "frame " << i;
        EXPECT_DOUBLE_EQ(progress[i], static_cast<double>(i + 1) / 15);
    }
    EXPECT_TRUE(record->finished);
    EXPECT_TRUE(record->videoFinished);
    EXPECT_FALSE(record->audioSettings) << "no sound was recorded";
    EXPECT_EQ(media->readerRequests.front().range, (TimeRange{0.25, 0.75}));
}

TEST_F(ExportRendererTest, NothingIsWrittenBeforeTheFirstScreenFrame) {
    auto& movie = media->movies[folder.screenMovie()];
    movie.frames = {{0.5, 7}, {0.6, 8}};
    const auto record = run();
    ASSERT_EQ(record->video.size(), 15U);
    EXPECT_EQ(record->video.front().presentationTime.value, 300);
    EXPECT_EQ(progress.size(), 15U);
    EXPECT_DOUBLE_EQ(progress.back(), 1);
    EXPECT_EQ(luma(record->video.back()), 8) << "the last frame stays to the end";
}

TEST_F(ExportRendererTest, AStillScreenIsRenderedOnce) {
    media->movies[folder.screenMovie()].frames = {{0, 50}, {0.5, 60}};
    const auto record = run();
    ASSERT_EQ(record->video.size(), 30U);
    for (std::size_t i = 1; i < 30; ++i)
        EXPECT_EQ(record->video[i].image == record->video[i - 1].image, i != 15) << "frame " << i;
}

TEST_F(ExportRendererTest, CameraAndMicrophoneFollowTheirOffset) {
    struct Case {
        double cameraFirst, trimStart, trimEnd;
        TimeRange cameraRange;
        TimeRange micSource;
        double micAt;
    };
    // screenFirstPTS is 100; the camera's sound lasts 3 s of its own timeline.
    const Case cases[]{
        {100.5, 0, 1, {0, 0.5}, {0, 0.5}, 0.5},        // began half a second late
        {100.5, 2, 4, {1.5, 3.5}, {1.5, 3.0}, 0},      // its sound ends first
        {99.25, 0, 1, {0.75, 1.75}, {0.75, 1.75}, 0},  // began early
    };
    for (const Case& c : cases) {
        media->readerRequests.clear();
        media->mixedCompositions.clear();
        addCamera(c.cameraFirst, {0, 3});
        media->movies[folder.screenMovie()] = FakeMovie::withFrames(300, 60);
        options.trimStart = c.trimStart;
        options.trimEnd = c.trimEnd;
        run();
        ASSERT_EQ(media->readerRequests.size(), 2U);
        EXPECT_NEAR(media->readerRequests[1].range.start, c.cameraRange.start, 1e-9);
        EXPECT_NEAR(media->readerRequests[1].range.end, c.cameraRange.end, 1e-9);
        ASSERT_EQ(media->mixedCompositions.size(), 1U);
        const auto& segment = media->mixedCompositions[0].tracks().front().segments().front();
        EXPECT_NEAR(segment.source.start, c.micSource.start, 1e-9);
        EXPECT_NEAR(segment.source.end, c.micSource.end, 1e-9);
        EXPECT_NEAR(segment.start, c.micAt, 1e-9);
    }
}

TEST_F(ExportRendererTest, SourcesThatAreNotThereAreLeftOut) {
    // No camera file at all although the session speaks of one.
    meta.cameraEnabled = true;
    options.bubble = true;
    EXPECT_EQ(run()->video.size(), 30U);
    EXPECT_TRUE(media->mixedCompositions.empty());

    // A camera file with sound only; system audio off, then on.
    addCamera(100, {0, 3});
    media->movies[folder.cameraMovie()].frames.clear();
    media->movies[folder.screenMovie()].sound = TimeRange{0, 0.5};
    EXPECT_TRUE(run()->audioSettings);
    EXPECT_EQ(media->mixedCompositions.back().tracks().size(), 1U);
    options.systemAudio = true;
    run();
    ASSERT_EQ(media->mixedCompositions.back().tracks().size(), 2U);
    const auto& system = media->mixedCompositions.back().tracks().back().segments().front();
    EXPECT_EQ(system.source, (TimeRange{0, 0.5}));

    // Sound that cannot be loaded is no sound; a camera that began after the span shows nothing.
    media->movies[folder.cameraMovie()].audioLoadError = PlatformError("x", 1, "damaged");
    options.systemAudio = false;
    EXPECT_FALSE(run()->audioSettings);
    addCamera(105, {0, 3});
    media->readerRequests.clear();
    EXPECT_EQ(run()->video.size(), 30U);
    EXPECT_EQ(media->readerRequests.size(), 1U);
}

TEST_F(ExportRendererTest, SoundRunsHalfASecondAheadAndArrivesWhole) {
    addCamera(100, {0, 2});
    options.trimEnd = 2;
    options.bubble = false;
    media->movies[folder.screenMovie()] = FakeMovie::withFrames(120, 60);
    for (const std::size_t refusals : {0, 7}) {
        media->writing.audioNotReadyAsks = refusals;
        const auto record = run();
        ASSERT_EQ(record->audio.size(), 94U) << "2 s in runs of 1024 frames";
        EXPECT_TRUE(record->audioFinished);
        double audioEnd = -1;
        std::size_t v = 0, a = 0;
        for (const MediaType type : record->order) {
            if (type == MediaType::audio) {
                audioEnd = record->audio[a++].presentationTime.seconds();
                continue;
            }
            const double t = record->video[v++].presentationTime.seconds();
            if (v > refusals + 1) {
                EXPECT_GE(audioEnd, std::min(t + 0.5, 1.96)) << "at " << t;
                EXPECT_LE(audioEnd, t + 0.5 + 2 * 1024.0 / 48000) << "at " << t;
            }
        }
    }
}

TEST_F(ExportRendererTest, EveryStageNamesItself) {
    auto& screen = media->movies[folder.screenMovie()];
    const auto good = screen;

    screen.frames.clear();
    EXPECT_EQ(setupError(), "no screen track");
    screen = good;
    screen.readerStarts = false;
    EXPECT_EQ(setupError(), "screen reader");
    screen = good;
    addCamera(100, {0, 1});
    media->movies[folder.cameraMovie()].readerStarts = false;
    EXPECT_EQ(setupError(), "camera reader");
    media->movies[folder.cameraMovie()].readerStarts = true;
    media->mix.starts = false;
    EXPECT_EQ(setupError(), "audio reader");
    media->mix.starts = true;
    media->writing.starts = false;
    EXPECT_EQ(setupError(), "writer");
    media->writing = {};
    media->writing.hasPool = false;
    EXPECT_EQ(setupError(), "pool");
    media->writing = {};
    media->writing.poolLimit = 0;
    EXPECT_EQ(setupError(), "pixel buffer");
    media->writing = {};
    media->writing.failsAfter = 3;
    EXPECT_EQ(setupError(), "writer failed");
    media->writing = {};
    media->writing.failsOnFinish = true;
    EXPECT_EQ(setupError(), "finish");
}

TEST_F(ExportRendererTest, ErrorsOfThePlatformPassThroughUnchanged) {
    const PlatformError full("disk", 28, "no room");
    const auto thrown = [&] {
        try {
            run();
        } catch (const PlatformError& error) {
            return error.domain() + " " + std::to_string(error.code());
        }
        return std::string("none");
    };
    auto& screen = media->movies[folder.screenMovie()];
    screen.videoLoadError = full;
    EXPECT_EQ(thrown(), "disk 28");
    screen.videoLoadError.reset();
    screen.readerCreationError = full;
    EXPECT_EQ(thrown(), "disk 28");
    screen.readerCreationError.reset();
    // A recording that was not read whole has not been exported: its folder would be deleted.
    const auto whole = screen;
    screen.readerFailsAfter = 4;
    screen.readerError = full;
    EXPECT_EQ(thrown(), "disk 28");
    EXPECT_TRUE(media->writers.back()->finished) << "what could be read is there";
    screen = whole;
    addCamera(100, {0, 1});
    auto& camera = media->movies[folder.cameraMovie()];
    camera.readerFailsAfter = 1;
    camera.readerError = full;
    EXPECT_EQ(thrown(), "disk 28");
    camera.readerFailsAfter.reset();
    media->mix.failsAt = 0.5;
    media->mix.error = full;
    EXPECT_EQ(thrown(), "disk 28");
    media->mix = {};
    media->writing.creationError = full;
    EXPECT_EQ(thrown(), "disk 28");
    for (auto* failure : {&media->writing.failsOnFinish, &media->writing.starts}) {
        media->writing = {};
        media->writing.error = full;
        *failure = !*failure;
        EXPECT_EQ(thrown(), "disk 28");
    }
    media->writing = {};
    media->writing.error = full;
    media->writing.failsAfter = 2;
    EXPECT_EQ(thrown(), "disk 28");
    media->movies.erase(folder.screenMovie());
    EXPECT_NE(thrown(), "none") << "a session without its movie";
}

TEST_F(ExportRendererTest, CancellingLeavesNoFile) {
    media->writing.createsFile = true;
    ExportRenderer renderer(folder, meta, media, nullptr);
    const auto expectCancelled = [&] {
        try {
            renderer.exportMovie(options);
            ADD_FAILURE() << "the export ran to its end";
        } catch (const ExportRenderer::Error& error) {
            EXPECT_EQ(error.kind(), ExportRenderer::Error::Kind::cancelled);
        }
        EXPECT_TRUE(media->writers.back()->cancelled);
        EXPECT_FALSE(media->writers.back()->finished);
        EXPECT_FALSE(std::filesystem::exists(options.outputURL));
    };
    renderer.onProgress = [&](double share) { renderer.cancelled = share >= 0.5; };
    expectCancelled();
    EXPECT_EQ(media->writers.back()->video.size(), 15U);

    // An encoder that is never ready again must not hold a cancellation up.
    renderer.onProgress = nullptr;
    media->writing.videoNotReadyAsks = 1'000'000;
    media->writing.onVideoAsk = [&](std::size_t asks) { renderer.cancelled = asks >= 5; };
    expectCancelled();
    EXPECT_EQ(media->writers.back()->video.size(), 0U);
}

TEST_F(ExportRendererTest, AnExistingFileIsReplacedAndTheSessionIsUntouched) {
    const auto old = [&] { return std::filesystem::file_size(options.outputURL); };
    std::ofstream(options.outputURL) << "old";
    ExportRenderer cancelled(folder, meta, media, nullptr);
    cancelled.onProgress = [&](double) { cancelled.cancelled = true; };
    EXPECT_THROW(cancelled.exportMovie(options), ExportRenderer::Error);
    EXPECT_EQ(old(), 3U) << "what was there stays until there is something better";
    media->writing.failsAfter = 2;
    EXPECT_ANY_THROW(run());
    EXPECT_EQ(old(), 3U);
    media->writing = {};
    writeClicks({100.5});
    const auto eventsWritten = std::filesystem::last_write_time(folder.eventsFile());
    options.clickRipples = true;
    run();
    EXPECT_EQ(old(), 0U) << "the scripted writer writes nothing";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(options.outputURL.parent_path()), {}), 2)
        << "the session and the export";
    EXPECT_EQ(std::filesystem::last_write_time(folder.eventsFile()), eventsWritten);
}

TEST_F(ExportRendererTest, AnExportWithoutAPictureIsAFailure) {
    for (auto& frame : media->movies[folder.screenMovie()].frames) frame.time += 1000;
    EXPECT_THROW(run(), platform::PlatformError);
    EXPECT_FALSE(std::filesystem::exists(options.outputURL));
}

TEST_F(ExportRendererTest, ClicksAreTakenFromTheKeptSpan) {
    writeClicks({100.4999, 100.5, 101.0, 101.5, 101.5001});
    options.trimStart = 0.5;
    options.trimEnd = 1.5;
    media->movies[folder.screenMovie()] = FakeMovie::withFrames(120, 60);
    const auto clickTimes = [&](bool ripples, bool zoom) {
        options.clickRipples = ripples;
        options.autoZoom = zoom;
        ExportRenderer renderer(folder, meta, media, nullptr);
        renderer.exportMovie(options);
        EXPECT_EQ(renderer.zoomMoves().empty(), !zoom || renderer.preparedClicks().empty());
        std::vector<double> times;
        for (const auto& click : renderer.preparedClicks()) times.push_back(click.t);
        return times;
    };
    using testing::DoubleNear;
    const auto kept = ElementsAre(DoubleNear(0, 1e-9), DoubleNear(0.5, 1e-9), DoubleNear(1, 1e-9));
    EXPECT_THAT(clickTimes(true, false), kept);
    EXPECT_THAT(clickTimes(false, true), kept);
    EXPECT_THAT(clickTimes(false, false), ElementsAre());

    std::ofstream(folder.eventsFile()) << R"({"version":1,"samples":[{"t":)";
    EXPECT_THAT(clickTimes(true, true), ElementsAre()) << "a damaged log is no log";
    std::filesystem::remove(folder.eventsFile());
    EXPECT_THAT(clickTimes(true, true), ElementsAre());
}

}  // namespace
}  // namespace cobaltreel

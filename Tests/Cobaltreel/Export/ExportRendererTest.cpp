#include "Cobaltreel/Export/ExportFixture.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Fakes/FakeVision.hpp"

#include <fstream>
#include <functional>
#include <stop_token>

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
};

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

TEST_F(ExportRendererTest, EveryPictureOfTheCameraIsCutOutOnce) {
    addCamera(100, {0, 1});
    for (auto& [file, movie] : media->movies) movie.width = movie.height = 64;
    meta.captureWidthPx = meta.captureHeightPx = 64;
    meta.bubbleSizeFraction = 0.5;
    options.cameraStyle = CameraStyle::cutout;
    const auto vision = std::make_shared<FakeVision>();
    int asked = 0;
    vision->script = {[&asked] {
        ++asked;
        return Masks{gray(16, 9, 255)};
    }};
    ExportRenderer(folder, meta, media, vision).exportMovie(options);
    EXPECT_EQ(asked, 30) << "a second of thirty pictures";
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

TEST_F(ExportRendererTest, AFailureNamesItsStageOrIsWhatThePlatformSays) {
    addCamera(100, {0, 1});
    const auto whole = media->movies;
    const auto screen = [&]() -> FakeMovie& { return media->movies[folder.screenMovie()]; };
    const auto camera = [&]() -> FakeMovie& { return media->movies[folder.cameraMovie()]; };
    auto& writing = media->writing;
    const PlatformError full("disk", 28, "no room");
    const struct {
        const char* says;
        std::function<void()> arrange;
    } cases[]{
        {"no screen track", [&] { screen().frames.clear(); }},
        {"screen reader", [&] { screen().readerStarts = false; }},
        {"camera reader", [&] { camera().readerStarts = false; }},
        {"audio reader", [&] { media->mix.starts = false; }},
        {"writer", [&] { writing.starts = false; }},
        {"pool", [&] { writing.hasPool = false; }},
        {"pixel buffer", [&] { writing.poolLimit = 0; }},
        {"writer failed", [&] { writing.failsAfter = 3; }},
        {"finish", [&] { writing.failsOnFinish = true; }},
        {"no room", [&] { screen().videoLoadError = full; }},
        {"no room", [&] { screen().readerCreationError = full; }},
        // A recording that was not read whole has not been exported: its folder would be deleted.
        {"no room", [&] { screen().readerFailsAfter = 4, screen().readerError = full; }},
        {"no room", [&] { camera().readerFailsAfter = 1, camera().readerError = full; }},
        {"no room", [&] { media->mix.failsAt = 0.5, media->mix.error = full; }},
        {"no room", [&] { writing.creationError = full; }},
        {"no room", [&] { writing.starts = false, writing.error = full; }},
        {"no room", [&] { writing.failsOnFinish = true, writing.error = full; }},
        {"no room", [&] { writing.failsAfter = 2, writing.error = full; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        c.arrange();
        try {
            run();
            ADD_FAILURE() << "the export ran to its end";
        } catch (const ExportRenderer::Error& error) {
            EXPECT_EQ(error.kind(), ExportRenderer::Error::Kind::setup);
            EXPECT_STREQ(error.what(), c.says);
        } catch (const PlatformError& error) {
            EXPECT_EQ(error.description(), c.says);
        }
        media->movies = whole;
        media->mix = {};
        writing = {};
    }
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
        EXPECT_FALSE(std::filesystem::exists(options.outputPath));
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

    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(renderer.exportMovie(options, stopped.get_token()), ExportRenderer::Error)
        << "before the run";
}

TEST_F(ExportRendererTest, AnExistingFileIsReplacedAndTheSessionIsUntouched) {
    const auto old = [&] { return std::filesystem::file_size(options.outputPath); };
    std::ofstream(options.outputPath) << "old";
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
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(options.outputPath.parent_path()), {}), 2)
        << "the session and the export";
    EXPECT_EQ(std::filesystem::last_write_time(folder.eventsFile()), eventsWritten);
}

TEST_F(ExportRendererTest, AnExportWithoutAPictureIsAFailure) {
    for (auto& frame : media->movies[folder.screenMovie()].frames) frame.time += 1000;
    EXPECT_THROW(run(), platform::PlatformError);
    EXPECT_FALSE(std::filesystem::exists(options.outputPath));
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

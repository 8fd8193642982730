#include "Cobaltreel/Support/AppSettings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewComposition.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewHarness.hpp"
#include "Fakes/FakeVision.hpp"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <future>
#include <limits>
#include <stdexcept>

namespace cobaltreel {
namespace {

using platform::Composition;
using platform::PlatformError;
using platform::SeekRequest;

TEST_F(PreviewTest, OffsetAndDurationComeFromWhateverTimesTheSessionHas) {
    using Time = std::optional<double>;
    const double huge = std::numeric_limits<double>::max();
    struct Case {
        Time screen, camera, end;
        double offset, duration;
    };
    for (const auto& [screen, cameraFirst, end, offset, duration] :
         {Case{100.0, 99.5, 110.0, 0.5, 10}, Case{100.0, 100.3, 110.0, -0.3, 10},
          Case{100.0, {}, 110.0, 0, 10}, Case{100.0, 99.5, {}, 0.5, 0.5}, Case{{}, {}, {}, 0, 0.5},
          Case{100.0, 100.0, 99.0, 0, 0.5}, Case{0.0, 0.0, huge, 0, huge}}) {
        meta.screenFirstPTS = screen;
        meta.cameraFirstPTS = cameraFirst;
        meta.recordingEndHostTime = end;
        players->players.clear();
        const PreviewModel& preview = open();
        EXPECT_NEAR(preview.cameraOffset(), offset, 1e-9);
        EXPECT_EQ(preview.duration(), duration);
        EXPECT_EQ(preview.trimEnd(), duration);
        model.reset();
    }
}

TEST_F(PreviewTest, TheCompositionHoldsTheScreenTheMovedMicrophoneAndTheComputersSound) {
    const auto soundAt = [&](double offset) {
        const Composition composition = makePreviewComposition(*media, folder, offset);
        EXPECT_EQ(composition.tracks().at(0).segments().at(0).source, (platform::TimeRange{0, 10}));
        const auto& microphone = composition.tracks().at(1).segments();
        EXPECT_EQ(composition.tracks().at(2).segments().at(0).start, 0);
        return microphone.empty()
                   ? std::tuple(-1.0, -1.0, -1.0)
                   : std::tuple(microphone[0].source.start, microphone[0].source.end, microphone[0].start);
    };
    EXPECT_EQ(soundAt(0.5), std::tuple(0.5, 9.0, 0.0));
    EXPECT_EQ(soundAt(-0.3), std::tuple(0.0, 9.0, 0.3));
    EXPECT_EQ(soundAt(-4), std::tuple(0.0, 6.0, 4.0)) << "it ends with the picture";
    EXPECT_EQ(soundAt(20), std::tuple(-1.0, -1.0, -1.0)) << "no common time";
    EXPECT_EQ(soundAt(-20), std::tuple(-1.0, -1.0, -1.0));

    media->movies[folder.cameraMovie()].sound.reset();
    EXPECT_EQ(makePreviewComposition(*media, folder, 0).tracks().size(), 2U);
    media->movies[folder.screenMovie()].sound.reset();
    EXPECT_EQ(makePreviewComposition(*media, folder, 0).tracks().size(), 1U);
    media->movies[folder.screenMovie()].frames.clear();
    EXPECT_THROW(makePreviewComposition(*media, folder, 0), std::runtime_error);
}

TEST_F(PreviewTest, PlaybackFallsBackToTheScreenMovieAndThenSaysWhatIsWrong) {
    open();
    EXPECT_TRUE(std::holds_alternative<Composition>(mainPlayer().items.back()));
    EXPECT_EQ(std::get<std::filesystem::path>(cameraPlayer().items.back()), folder.cameraMovie());
    EXPECT_TRUE(cameraPlayer().muted);

    mainPlayer().fail(PlatformError("Media", 1, "the microphone's file is damaged"));
    EXPECT_EQ(std::get<std::filesystem::path>(mainPlayer().items.back()), folder.screenMovie());
    EXPECT_EQ(model->playbackProblem(), "");
    cameraPlayer().fail(PlatformError("Media", 1, "the camera's file is damaged"));
    EXPECT_EQ(model->cameraPictures(), nullptr);
    mainPlayer().fail(PlatformError("Media", 1, "screen.mov is damaged"));
    EXPECT_EQ(model->playbackProblem(), "screen.mov is damaged");

    players->players.clear();
    media->movies.erase(folder.cameraMovie());
    open();
    EXPECT_EQ(std::get<std::filesystem::path>(mainPlayer().items.back()), folder.screenMovie());
}

TEST_F(PreviewTest, ANewItemIsShownWhereTheUserHasGone) {
    open();
    model->setTrimEnd(8);
    mainPlayer().fail(PlatformError("Media", 1, "the microphone's file is damaged"));
    EXPECT_EQ(mainPlayer().currentTime(), 8) << "as the window says";
    EXPECT_EQ(model->position(), 8);
}

TEST_F(PreviewTest, TheCameraIsMovedOnlyWhenItIsTooFarOff) {
    open();
    EXPECT_EQ(cameraPlayer().seeks.back(), (SeekRequest{0.5, 0})) << "in step from the beginning, exactly";
    model->togglePlay();
    EXPECT_EQ(cameraPlayer().rate(), 1);
    EXPECT_EQ(cameraPlayer().seeks.back().tolerance, 0.03);

    for (const auto& [drift, seeks] : {std::pair(0.10, 0U), {0.13, 1U}, {-0.10, 0U}, {-0.13, 1U}}) {
        time->advance(0.6);
        const auto before = cameraPlayer().seeks.size();
        cameraPlayer().drift(drift);
        time->advance(0.6);
        EXPECT_EQ(cameraPlayer().seeks.size() - before, seeks) << drift;
        EXPECT_NEAR(cameraPlayer().currentTime(), mainPlayer().currentTime() + 0.5, 0.121);
        if (seeks == 0) cameraPlayer().drift(-drift);
    }
    model->togglePlay();
    EXPECT_EQ(cameraPlayer().rate(), 0);
    EXPECT_EQ(cameraPlayer().seeks.back(), (SeekRequest{cameraPlayer().currentTime(), 0}));
    EXPECT_NEAR(cameraPlayer().currentTime(), mainPlayer().currentTime() + 0.5, 0.001);

    mainPlayer().seek(3, 0);
    time->advance(0.01);
    EXPECT_NEAR(cameraPlayer().currentTime(), 3.5, 0.001) << "follows a jump";

    players->players.clear();
    meta.cameraFirstPTS = 100.3;
    open();
    model->resyncBubble(0.1, true);
    EXPECT_EQ(cameraPlayer().seeks.back(), (SeekRequest{0, 0})) << "the camera began later";
}

TEST_F(PreviewTest, TrimHandlesShowWhatTheyKeep) {
    PreviewModel& preview = open();
    int warnings = 0;
    double seen = -1;
    QObject::connect(&preview, &PreviewModel::willChange, [&] {
        if (warnings++ == 0) seen = preview.trimStart();
    });
    preview.setTrimStart(2.25);
    EXPECT_EQ(seen, 0) << "told before the change";
    EXPECT_EQ(mainPlayer().seeks.back(), (SeekRequest{2.25, 0}));
    EXPECT_EQ(cameraPlayer().seeks.back(), (SeekRequest{2.75, 0}));
    EXPECT_EQ(preview.position(), 2.25);
    preview.setTrimEnd(8);
    EXPECT_EQ(mainPlayer().seeks.back(), (SeekRequest{8, 0}));
    const auto seeks = mainPlayer().seeks.size();
    preview.setTrimEnd(8);
    preview.setTrimEnd(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(mainPlayer().seeks.size(), seeks);

    EXPECT_DOUBLE_EQ(preview.trimStartLimit(), 7.9);
    EXPECT_DOUBLE_EQ(preview.trimEndLimit(), 2.35);
    preview.setTrimEnd(0.05);
    EXPECT_DOUBLE_EQ(preview.trimStartLimit(), 0.1);
    preview.setTrimStart(10);
    EXPECT_DOUBLE_EQ(preview.trimEndLimit(), 10);
}

TEST_F(PreviewTest, PlayingKeepsToTheKeptSpan) {
    PreviewModel& preview = open();
    preview.setTrimStart(2);
    preview.setTrimEnd(4);
    preview.togglePlay();  // stands at the end of the span
    EXPECT_TRUE(preview.isPlaying());
    EXPECT_NEAR(mainPlayer().currentTime(), 2, 0.01);
    time->advance(1);
    EXPECT_NEAR(preview.position(), 3, 0.06);
    time->advance(1.2);
    EXPECT_FALSE(preview.isPlaying());
    EXPECT_NEAR(mainPlayer().currentTime(), 4, 0.001) << "on the last frame that is kept";

    // Who goes past the end on purpose may look on, to the end of the recording and again.
    preview.goTo(2.5);
    preview.togglePlay();
    preview.goTo(6);
    time->advance(1);
    EXPECT_TRUE(preview.isPlaying());
    EXPECT_NEAR(preview.position(), 7, 0.06);
    time->advance(4);
    EXPECT_FALSE(preview.isPlaying());

    preview.goTo(3);
    preview.togglePlay();
    preview.step(1.0 / 30);
    time->advance(0.1);
    EXPECT_FALSE(preview.isPlaying());
    EXPECT_NEAR(preview.position(), 3 + 1.0 / 30, 0.001);
    preview.step(-100);
    EXPECT_EQ(preview.position(), 0);
    preview.step(100);
    EXPECT_EQ(preview.position(), 10);
}

TEST_F(PreviewTest, TheCutoutWorksOnOnePictureAtATimeAndKeepsTheLastPersonItSaw) {
    const auto scripted = std::make_shared<FakeVision>();
    std::promise<void> release;
    std::atomic<int> asked{0};
    scripted->script = {[&asked] {
                            ++asked;
                            return Masks{};
                        },
                        [] { return Masks{gray(8, 4, 255)}; },
                        [waiting = release.get_future().share()] {
                            waiting.wait();
                            return Masks{};
                        }};
    vision = scripted;
    const auto cutout = open().makeCutoutPictures();
    int pictures = 0;
    QObject::connect(cutout.get(), &PictureSource::pictureChanged, [&] { ++pictures; });
    const auto show = [&] {
        const auto buffer = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::bgra, 8, 4);
        std::memset(buffer->plane().data, 255, static_cast<std::size_t>(buffer->plane().stride) * 4);
        cameraPlayer().showPicture(buffer);
        time->advance(0.06);
    };
    show();
    settle([&] { return asked == 1; });
    EXPECT_EQ(pictures, 0) << "nobody has been seen yet";
    // The first answer has to arrive before another picture is taken.
    settle([&] {
        show();
        return pictures == 1;
    });
    EXPECT_EQ(cutout->picture().size(), QSize(8, 4));
    EXPECT_GT(qAlpha(cutout->picture().pixel(4, 2)), 190);

    show();
    for (int i = 0; i < 5; ++i) show();  // while one is being worked on
    release.set_value();
    settle([&] { return pictures == 2; });
    EXPECT_GT(qAlpha(cutout->picture().pixel(4, 2)), 190);
}

TEST_F(PreviewTest, MarkersAreOnTheTimeLineAndCanBeGoneTo) {
    EventLog log;
    log.markers = {{99, "before"}, {101, ""}, {105, "שלב"}, {105.01, "close"}, {111, "after"}};
    std::filesystem::create_directories(folder.dir);
    folder.writeEvents(log);
    auto& preview = open();
    settle([&] { return preview.markers()->count() > 0; });
    EXPECT_EQ(preview.markers()->count(), 3) << "of the recorded time";
    AppSettings::shared().setLanguage(Language::en);
    const auto places = preview.markers()->placesIn(100);
    ASSERT_EQ(places.size(), 2) << "two that a pointer cannot tell apart are one";
    EXPECT_EQ(places[0].toMap()["label"], QStringLiteral(u"\u2068Marker 2\u2069 · 00:01"));
    EXPECT_EQ(places[1].toMap()["fraction"], 0.5);
    EXPECT_EQ(places[1].toMap()["label"], QStringLiteral(u"\u2068\u2068שלב\u2069 and 1 more\u2069 · 00:05"));
    EXPECT_EQ(preview.markers()->placesIn(100'000).size(), 3);
    EXPECT_TRUE(preview.markers()->placesIn(0).isEmpty());

    for (const auto& [forward, there] :
         {std::pair{true, 1.0}, {true, 5.0}, {true, 5.0}, {false, 1.0}, {false, 1.0}}) {
        preview.goToMarker(forward);
        EXPECT_EQ(preview.position(), there);
    }
    log.markers.assign(10'000, {102, "x"});
    preview.markers()->show(log.markers, 100, 10);
    EXPECT_EQ(preview.markers()->placesIn(700).size(), 1);
}

TEST_F(PreviewTest, ClosedWhileItIsStillOpening) {
    for (int i = 0; i < 20; ++i) {
        model = std::make_unique<PreviewModel>(folder, meta, services());
        if (i % 2 == 0) time->drain();
        model.reset();
        time->drain();
    }
}

}  // namespace
}  // namespace cobaltreel

#include "CoordinatorHarness.hpp"

#include <functional>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using RecordingCoordinatorTest = CoordinatorTest;

TEST_F(RecordingCoordinatorTest, CarriesARecordingFromThePressToThePreview) {
    choose();
    coordinator->setAutoZoomEnabled(true);
    coordinator->setSystemAudioEnabled(true);
    coordinator->setCameraCorner(CameraCorner::topRight);
    std::vector<std::string> seen;
    QObject::connect(coordinator.get(), &RecordingChoices::willChange,
                     [&] { seen.push_back("before " + std::to_string(int(coordinator->state()))); });
    QObject::connect(coordinator.get(), &RecordingCoordinator::stateChanged,
                     [&] { seen.push_back("after " + std::to_string(int(coordinator->state()))); });
    coordinator->toggle();
    EXPECT_THAT(seen, ElementsAre("before 0", "after 1")) << "in the same turn as the press";
    coordinator->toggle();
    ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
    EXPECT_THAT(access->requests, ElementsAre(platform::MediaType::audio, platform::MediaType::video));
    EXPECT_THAT(folders(), IsEmpty());
    coordinator->toggle();
    EXPECT_EQ(countdown->runs, 1) << "a second press changes nothing";
    countdown->complete();
    ASSERT_TRUE(reaches(State::recording));

    ASSERT_THAT(folders(), SizeIs(1));
    const SessionFolder folder{folders()[0]};
    const SessionMeta begun = folder.readMeta();
    EXPECT_FALSE(begun.recordingEndHostTime || begun.screenFirstPTS || begun.cameraFirstPTS);
    EXPECT_EQ(begun, *coordinator->meta());
    EXPECT_EQ(stream().configuration.width, 3024);
    EXPECT_TRUE(stream().configuration.capturesAudio);
    EXPECT_THAT(std::get<platform::DisplayContentFilter>(stream().filter).excludingApplications, SizeIs(1));
    EXPECT_TRUE(bubble->isShown);
    EXPECT_TRUE(isHeld(folder.dir)) << "for whoever clears away interrupted recordings";

    EXPECT_TRUE(devices().deliverSound(1010.25, 0.5F));
    EXPECT_TRUE(stream().deliverFrame(1010.5));
    time->advance(65.9);
    EXPECT_EQ(coordinator->elapsed(), 65);
    coordinator->toggle();
    coordinator->toggle();
    await(coordinator->stopRecording());
    ASSERT_TRUE(reaches(State::idle));

    ASSERT_THAT(windows->previews, SizeIs(1)) << "two stops are one";
    EXPECT_FALSE(isHeld(folder.dir));
    const SessionMeta meta = folder.readMeta();
    EXPECT_EQ(meta, windows->previews[0].meta);
    EXPECT_EQ(windows->previews[0].folder.dir, folder.dir);
    EXPECT_EQ(meta.version, 1);
    EXPECT_EQ(meta.screenFirstPTS, 1010.5);
    EXPECT_EQ(meta.cameraFirstPTS, 1010.25);
    EXPECT_NEAR(*meta.recordingEndHostTime, 1065.9, 0.001);
    EXPECT_TRUE(meta.cameraEnabled && meta.autoZoomEnabled && meta.systemAudioEnabled);
    EXPECT_EQ(meta.cameraCorner, CameraCorner::topRight);
    EXPECT_EQ(meta.bubbleSizeFraction, 0.24);
    EXPECT_EQ(meta.cameraStyle, CameraStyle::bubble);
    EXPECT_NEAR(static_cast<double>(folder.readEvents().samples.size()), 65.9 * 60, 2);
    EXPECT_FALSE(bubble->isShown || coordinator->previewActive() || devices().isRunning());
    EXPECT_TRUE(media->writers[0]->finished && media->writers[1]->finished);
    EXPECT_TRUE(coordinator->endReason().empty());
    EXPECT_THAT(alerts->alerts, IsEmpty());
    time->advance(10);
    EXPECT_EQ(coordinator->elapsed(), 65) << "the clock of the recording stands";
}

TEST_F(RecordingCoordinatorTest, SaysThatTheComputersSoundIsMissing) {
    capture->unavailableError = platform::PlatformError("PipeWire", 111, "The media server does not answer.");
    std::vector<QString> told;
    QObject::connect(coordinator.get(), &RecordingCoordinator::deviceMessage,
                     [&](const QString&, const QString& details) { told.push_back(details); });
    record();
    stop();
    EXPECT_THAT(told, IsEmpty()) << "nobody asked for it";
    coordinator->setSystemAudioEnabled(true);
    record();
    EXPECT_THAT(told, ElementsAre(QStringLiteral("The media server does not answer.")));
    stop();
}

TEST_F(RecordingCoordinatorTest, RecordsWhatWasChosenOrWhatIsLeftOfIt) {
    struct Case {
        const char* what;
        CaptureMode mode;
        std::uint32_t displayID, windowID;
        bool screens;
        std::pair<std::int64_t, std::int64_t> pixels;
        DisplayFrame frame;
        double scale, mainHeight;
    };
    const auto display = CaptureMode::display, aWindow = CaptureMode::window;
    constexpr std::uint32_t closed = 999;
    for (const Case& c : std::initializer_list<Case>{
             {"another display", display, 22, 101, true, {1920, 1080}, {1512, -98, 1920, 1080}, 1, 982},
             {"no screen shows it", display, 22, 101, false, {3840, 2160}, {0, 0, 1920, 1080}, 2, 1117},
             {"a window of odd size", aWindow, 11, 101, true, {1282, 962}, {0, 0, 641, 481}, 2, 982},
             {"no screens", aWindow, 11, 102, false, {1800, 1400}, {0, 0, 900, 700}, 2, 1117},
             {"a closed window", aWindow, 11, closed, true, {3024, 1964}, {0, 0, 1512, 982}, 2, 982}}) {
        const CaptureMode recorded = c.windowID == closed ? display : c.mode;
        SCOPED_TRACE(c.what);
        if (!c.screens) desktop->screenList.clear();
        coordinator->setMode(c.mode);
        coordinator->setSelectedDisplayID(c.displayID);
        coordinator->setSelectedWindowID(c.windowID);
        record();
        stop();
        const SessionMeta& meta = windows->previews.back().meta;
        EXPECT_EQ(meta.mode, recorded);
        EXPECT_EQ(meta.displayID, recorded == display ? c.displayID : 0);
        EXPECT_EQ(meta.windowID, recorded == aWindow ? c.windowID : 0);
        EXPECT_EQ((std::pair{meta.captureWidthPx, meta.captureHeightPx}), c.pixels);
        EXPECT_EQ(meta.displayFramePoints, c.frame);
        EXPECT_EQ(meta.scaleFactor, c.scale);
        EXPECT_EQ(meta.mainScreenHeightPoints, c.mainHeight);
        desktop->screenList = {{11, {0, 0, 1512, 982}, 2}, {22, {1512, -98, 1920, 1080}, 1}};
    }
    EXPECT_THAT(folders(), SizeIs(5)) << "each in a folder of its own, all within a second";

    // A window that cannot be seen, and one of another program that got the number of the chosen one.
    coordinator->setMode(aWindow);
    for (const bool isReused : {false, true}) {
        choose();
        coordinator->setSelectedDisplayID(11);
        coordinator->setSelectedWindowID(102);
        platform::Window& chosen = screenCapture->content.windows[1];
        if (isReused)
            chosen.owningApplication = platform::RunningApplication{"another", "Another", 4711};
        else
            chosen.isOnScreen = false;
        record();
        stop();
        EXPECT_EQ(windows->previews.back().meta.mode, display) << isReused;
        chosen.isOnScreen = true;
    }
    choose();
    EXPECT_EQ(coordinator->selectedWindowID(), 101U) << "as if nothing were chosen";
    coordinator->setMode(display);

    // The display has gone as well: nothing happens, without a word.
    coordinator->setSelectedDisplayID(33);
    press();
    countdown->complete();
    ASSERT_TRUE(reaches(State::idle));
    EXPECT_THAT(folders(), SizeIs(7));
    EXPECT_THAT(alerts->alerts, IsEmpty());
    EXPECT_FALSE(coordinator->previewActive());
}

TEST_F(RecordingCoordinatorTest, AClosedPreviewTakesAnExportedRecordingAlong) {
    record();
    stop();
    record();
    stop();
    const auto first = windows->previews[0], second = windows->previews[1];
    record();
    const auto running = coordinator->session()->dir;
    second.close(true);
    first.close(false);
    ASSERT_TRUE(eventually([&] { return !fs::exists(second.folder.dir); }));
    EXPECT_TRUE(fs::exists(first.folder.dir)) << "never exported: it is offered again";
    EXPECT_EQ(coordinator->session()->dir, running) << "the recording that runs is not touched";
    stop();
    ASSERT_THAT(windows->previews, SizeIs(3));
    windows->previews[2].close(false);
    time->drain();
    EXPECT_FALSE(coordinator->session() || coordinator->meta());
    coordinator->openSettings();
    EXPECT_EQ(windows->settingsOpened, 1);
}

TEST_F(RecordingCoordinatorTest, TheEndOfTheSessionCompletesTheFilesWithoutAPreview) {
    await(coordinator->finishBeforeQuit());
    EXPECT_EQ(coordinator->state(), State::idle);

    press();
    await(coordinator->finishBeforeQuit());
    EXPECT_EQ(coordinator->state(), State::idle);
    EXPECT_FALSE(countdown->isRunning());
    EXPECT_THAT(folders(), IsEmpty());

    // An alert that nobody answers holds nothing up.
    freeBytes = 0;
    alerts->holdsAnswers = true;
    coordinator->toggle();
    ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
    await(coordinator->finishBeforeQuit());
    EXPECT_EQ(coordinator->state(), State::idle);
    alerts->answer();
    freeBytes = 10'000'000'000;

    const auto isComplete = [&] {
        return SessionFolder{folders().back()}.readMeta().recordingEndHostTime.has_value();
    };
    record();
    await(coordinator->finishBeforeQuit());
    EXPECT_EQ(coordinator->state(), State::idle);
    EXPECT_TRUE(isComplete());
    fs::remove_all(Paths::sessionsRoot());

    // While it begins, and while it ends anyway.
    screenCapture->holdsStart = true;
    press();
    countdown->complete();
    ASSERT_TRUE(eventually([&] { return screenCapture->streams.size() == 2; }));
    auto finishing = coordinator->finishBeforeQuit();
    time->drain();
    EXPECT_EQ(coordinator->state(), State::countdown);
    stream().finishStart();
    await(std::move(finishing));
    EXPECT_TRUE(isComplete());
    fs::remove_all(Paths::sessionsRoot());

    screenCapture->holdsStart = false;
    screenCapture->holdsStop = true;
    record();
    coordinator->toggle();
    finishing = coordinator->finishBeforeQuit();
    time->drain();
    stream().finishStop();
    await(std::move(finishing));
    EXPECT_TRUE(isComplete());
    EXPECT_THAT(windows->previews, IsEmpty());
    screenCapture->holdsStop = false;
    record();
    stop();
    EXPECT_THAT(windows->previews, SizeIs(1)) << "had the session gone on, so would this";
}

TEST_F(RecordingCoordinatorTest, MayVanishAtAnyMoment) {
    struct Case {
        const char* when;
        std::function<void()> reach;
        std::function<void()> release;
    };
    const auto nothing = [] {};
    const auto startHeld = [&] {
        screenCapture->holdsStart = true;
        press();
        countdown->complete();
        ASSERT_TRUE(eventually([&] { return !screenCapture->streams.empty(); }));
    };
    for (const Case& c : std::initializer_list<Case>{
             {"while the user is asked",
              [&] {
                  access->holdsAnswers = true;
                  coordinator->toggle();
              },
              [&] {
                  access->holdsAnswers = false;
                  access->answer();
              }},
             {"in the countdown", [&] { press(); }, nothing},
             {"at the end of the countdown",
              [&] {
                  press();
                  countdown->complete();
              },
              nothing},
             {"while the capture begins", startHeld, [&] { stream().finishStart(); }},
             {"while the capture fails",
              [&] {
                  screenCapture->startError = platform::PlatformError("host", 5, "no");
                  startHeld();
              },
              [&] { stream().finishStart(); }},
             {"while recording", [&] { record(); }, nothing},
             {"in the stop",
              [&] {
                  screenCapture->holdsStop = true;
                  record();
                  coordinator->toggle();
                  ASSERT_TRUE(eventually([&] { return stream().stopRequests() > 0; }));
              },
              [&] { stream().finishStop(); }},
             {"under an alert",
              [&] {
                  alerts->holdsAnswers = true;
                  record();
                  stream().stopByItself({"host", 9, "gone"});
                  ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
              },
              [&] { alerts->answer(); }},
             {"while content is looked for", [&] { coordinator->refreshContent(); }, nothing},
             {"with a preview running, and one open",
              [&] {
                  record();
                  stop();
                  coordinator->startCameraPreview();
                  coordinator->stopCameraPreview();
                  coordinator->startCameraPreview();
              },
              [&] { windows->previews.back().close(true); }}}) {
        SCOPED_TRACE(c.when);
        choose();
        c.reach();
        const bool stopping = !screenCapture->streams.empty() && stream().stopRequests() > 0;
        coordinator.reset();
        EXPECT_FALSE(bubble->isShown);
        EXPECT_FALSE(countdown->isRunning());
        c.release();
        // What goes on without it: the recorders go when the last operation has let go of them.
        ASSERT_TRUE(eventually([&] { return capture.use_count() == 1; }));
        if (stopping) {
            EXPECT_TRUE(SessionFolder{folders().back()}.readMeta().recordingEndHostTime)
                << "the files are completed all the same";
        }
        fs::remove_all(Paths::sessionsRoot());
        *access = {};
        alerts->holdsAnswers = screenCapture->holdsStart = screenCapture->holdsStop = false;
        screenCapture->startError.reset();
        screenCapture->streams.clear();
        makeCoordinator();
    }
}

}  // namespace
}  // namespace cobaltreel

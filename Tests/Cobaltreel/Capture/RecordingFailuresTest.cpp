#include "CoordinatorHarness.hpp"

#include <fstream>
#include <functional>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;
using platform::PlatformError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// What forbids a recording, keeps it from beginning, or ends it.
using RecordingFailuresTest = CoordinatorTest;

TEST_F(RecordingFailuresTest, WhatForbidsAStartIsSaidAndLeavesNothing) {
    choose();
    struct Case {
        const char* what;
        std::function<void()> arrange;
        std::function<QString()> message;  // none: the countdown runs
    };
    for (const Case& c : std::initializer_list<Case>{
             {"no microphone", [&] { access->microphone = platform::AuthorizationStatus::denied; },
              S::microphoneRequired},
             {"nearly enough space", [&] { freeBytes = 1'999'999'999; }, S::notEnoughDiskSpace},
             {"just enough space", [&] { freeBytes = 2'000'000'000; }, nullptr},
             {"no camera", [&] { access->camera = platform::AuthorizationStatus::denied; }, nullptr}}) {
        SCOPED_TRACE(c.what);
        *access = {};
        access->holdsAnswers = false;
        freeBytes = 100'000'000'000;
        alerts->alerts.clear();
        alerts->holdsAnswers = true;
        c.arrange();
        coordinator->toggle();
        ASSERT_TRUE(eventually([&] { return alerts->isWaiting() || countdown->isRunning(); }));
        EXPECT_EQ(coordinator->state(), State::countdown) << "until the alert is answered";
        EXPECT_EQ(countdown->isRunning(), !c.message);
        if (c.message) {
            EXPECT_THAT(messages(), ElementsAre(c.message()));
            EXPECT_EQ(alerts->alerts[0].informativeText, "");
        }
        alerts->answer();
        countdown->cancel();
        ASSERT_TRUE(reaches(State::idle));
    }
    EXPECT_THAT(folders(), IsEmpty());
    EXPECT_THAT(screenCapture->streams, IsEmpty());
}

TEST_F(RecordingFailuresTest, AStartThatFailsLeavesNothingOfItselfAndAllOfWhatWas) {
    const PlatformError denied("host", 5, "the host said no");
    record();
    stop();
    const auto earlier = folders();
    struct Case {
        const char* what;
        std::function<void()> arrange;
        QString message;
        bool previewGoesOn;
    };
    for (const Case& c : std::initializer_list<Case>{
             {"no content", [&] { screenCapture->contentError = denied; }, S::recordingFailed(), false},
             {"no stream", [&] { screenCapture->makeStreamError = denied; }, S::recordingFailed(), false},
             {"no start", [&] { screenCapture->startError = denied; }, S::recordingFailed(), false},
             {"no camera movie", [&] { media->writing.creationError = denied; }, S::cameraBusy(), true},
             {"a camera movie that does not begin",
              [&] {
                  media->writing.starts = false;
                  media->writing.error = denied;
              },
              S::cameraBusy(), true}}) {
        SCOPED_TRACE(c.what);
        alerts->alerts.clear();
        coordinator->startCameraPreview();
        c.arrange();
        press();
        countdown->complete();
        ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
        EXPECT_EQ(coordinator->state(), State::idle) << "before the alert";
        EXPECT_THAT(messages(), ElementsAre(c.message));
        EXPECT_EQ(alerts->alerts[0].informativeText, "the host said no");
        EXPECT_EQ(folders(), earlier);
        EXPECT_FALSE(coordinator->session() || coordinator->meta());
        EXPECT_EQ(coordinator->previewActive(), c.previewGoesOn);
        EXPECT_EQ(bubble->isShown, c.previewGoesOn);
        screenCapture->contentError.reset();
        screenCapture->makeStreamError.reset();
        screenCapture->startError.reset();
        media->writing = {};
    }

    // Where no folder can be made.
    fs::remove_all(Paths::sessionsRoot());
    std::ofstream(Paths::sessionsRoot()) << "in the way";
    press();
    countdown->complete();
    ASSERT_TRUE(eventually([&] { return alerts->alerts.size() == 2; }));
    EXPECT_EQ(messages()[1], S::recordingFailed());
    EXPECT_THAT(alerts->alerts[1].informativeText.toStdString(),
                testing::HasSubstr(Paths::sessionsRoot().string()));
    fs::remove(Paths::sessionsRoot());
    record();
    stop();
    EXPECT_THAT(windows->previews, SizeIs(2)) << "the next one works";
}

TEST_F(RecordingFailuresTest, EndsByItselfAtItsLimits) {
    struct Case {
        const char* what;
        double until;
        std::int64_t free;
        std::function<QString()> message;  // none: it goes on
    };
    for (const Case& c :
         std::initializer_list<Case>{{"the disk is not looked at yet", 4.5, 0, nullptr},
                                     {"the disk is full", 5.5, 499'999'999, S::stoppedDiskFull},
                                     {"the disk is nearly full", 120, 500'000'000, nullptr},
                                     {"just before half an hour", 1799.5, 10'000'000'000, nullptr},
                                     {"half an hour", 1800.5, 10'000'000'000, S::stoppedTimeLimit}}) {
        SCOPED_TRACE(c.what);
        alerts->alerts.clear();
        windows->previews.clear();
        record();
        freeBytes = c.free;
        time->advance(c.until);
        if (c.message) {
            ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
            freeBytes = 10'000'000'000;
            EXPECT_EQ(coordinator->state(), State::idle);
            EXPECT_THAT(windows->previews, SizeIs(1)) << "before the alert";
            EXPECT_THAT(messages(), ElementsAre(c.message()));
            EXPECT_EQ(coordinator->endReason(), c.message().toStdString());
            time->advance(5);
            EXPECT_THAT(alerts->alerts, SizeIs(1));
        } else {
            EXPECT_EQ(coordinator->state(), State::recording);
            stop();
            freeBytes = 10'000'000'000;
        }
    }

    // At half an hour the time goes first.
    alerts->alerts.clear();
    record();
    time->advance(1799.5);
    freeBytes = 0;
    time->advance(1);
    ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
    EXPECT_THAT(messages(), ElementsAre(S::stoppedTimeLimit()));
}

TEST_F(RecordingFailuresTest, AMovieThatCannotBeWrittenAnyMoreEndsTheRecording) {
    struct Case {
        const char* what;
        std::function<void()> deliver;
        bool endsByItself;
    };
    const auto deliverScreen = [&] {
        stream().deliverFrame(time->now());
        stream().deliverFrame(time->now() + 0.1);
    };
    const auto deliverCamera = [&] {
        for (const double after : {0.0, 0.1, 0.2}) devices().deliverPicture(time->now() + after);
    };
    for (const Case& c : std::initializer_list<Case>{{"the screen's", deliverScreen, true},
                                                     {"the camera's and microphone's", deliverCamera, true},
                                                     {"seen only at the end", deliverScreen, false}}) {
        SCOPED_TRACE(c.what);
        alerts->alerts.clear();
        windows->previews.clear();
        media->writing.failsAfter = 1;
        media->writing.error = PlatformError("disk", 28, "no space left");
        record();
        c.deliver();
        if (c.endsByItself)
            time->advance(2.5);
        else
            stop();
        ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
        EXPECT_EQ(coordinator->state(), State::idle);
        EXPECT_THAT(messages(), ElementsAre(S::recordingFailed()));
        EXPECT_EQ(alerts->alerts[0].informativeText, "no space left");
        EXPECT_EQ(coordinator->endReason(), "no space left");
        EXPECT_TRUE(coordinator->endedByFailure());
        EXPECT_THAT(windows->previews, SizeIs(1)) << "before the alert";
    }
}

TEST_F(RecordingFailuresTest, DocumentsThatCannotBeWrittenAreSaid) {
    record();
    stream().deliverFrame(time->now());
    fs::remove_all(folders().at(0));
    stop();
    ASSERT_TRUE(eventually([&] { return !alerts->alerts.empty(); }));
    EXPECT_THAT(alerts->alerts[0].informativeText.toStdString(), testing::HasSubstr("session.json"));
    EXPECT_TRUE(coordinator->endedByFailure());
}

TEST_F(RecordingFailuresTest, WhileItRunsTheFolderIsTrue) {
    record();
    const double begun = time->now();
    const SessionFolder folder{folders().at(0)};
    for (int i = 0; i <= 20; ++i) {
        stream().deliverFrame(time->now());
        devices().deliverSound(time->now());
        time->advance(0.1);
    }
    // Twice a second, but not while the disk is busy with the time before.
    ASSERT_TRUE(eventually([&] {
        time->advance(0.1);
        return folder.readMeta().recordingEndHostTime.value_or(0) > begun + 1.4;
    }));
    EXPECT_EQ(folder.readMeta().screenFirstPTS, begun);
    EXPECT_EQ(folder.readMeta().cameraFirstPTS, begun);
    EXPECT_LE(*folder.readMeta().recordingEndHostTime, time->now());
    EXPECT_GT(folder.readEvents().samples.size(), 60U);
    const double before = time->now();
    ASSERT_TRUE(eventually([&] {
        time->advance(1);
        return *folder.readMeta().recordingEndHostTime > before + 8;
    })) << "a picture that stands still counts";
    stop();
    EXPECT_FALSE(fs::exists(folder.journalFile()));
    const auto samples = folder.readEvents().samples;
    EXPECT_GT(samples.size(), 600U);
    EXPECT_TRUE(std::ranges::is_sorted(samples, {}, &MouseSample::t));
}

TEST_F(RecordingFailuresTest, AStreamThatDiesEndsTheRecordingOnceTheUserKnows) {
    alerts->holdsAnswers = true;
    record();
    stream().deliverFrame(1001);
    stream().stopByItself({"host", 9, "the window was closed"});
    ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
    EXPECT_THAT(messages(), ElementsAre(S::recordingFailed()));
    EXPECT_EQ(alerts->alerts[0].informativeText, "");
    EXPECT_EQ(coordinator->state(), State::recording);
    const double end = time->now(), elapsed = coordinator->elapsed();
    time->advance(72);
    EXPECT_FALSE(bubble->isShown);
    EXPECT_EQ(coordinator->elapsed(), elapsed) << "nothing runs on while the user is away";
    alerts->answer();
    ASSERT_TRUE(reaches(State::idle));
    EXPECT_EQ(coordinator->endReason(), "the window was closed");
    ASSERT_THAT(windows->previews, SizeIs(1));
    EXPECT_EQ(windows->previews[0].meta.recordingEndHostTime, end);
    EXPECT_EQ(windows->previews[0].meta.screenFirstPTS, 1001);

    // Somebody else may have ended it before the answer, and a new one may run.
    record();
    EXPECT_TRUE(coordinator->endReason().empty());
    stream().stopByItself({"host", 9, "the display was unplugged"});
    ASSERT_TRUE(eventually([&] { return alerts->isWaiting(); }));
    stop();
    record();
    alerts->answer();
    time->drain();
    EXPECT_EQ(stream().stopRequests(), 0);
    stop();
    EXPECT_THAT(windows->previews, SizeIs(3));
}

}  // namespace
}  // namespace cobaltreel

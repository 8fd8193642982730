#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Fakes/FakeHost.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::FrameStatus;
using platform::PlatformError;

class ScreenRecorderTest : public testing::Test, public FakeHost {
  protected:
    /// Lets a task run to its end; empty, or what it failed with.
    std::string finish(QCoro::Task<void> task) {
        try {
            await(std::move(task));
        } catch (const PlatformError& error) {
            return error.domain() + " " + std::to_string(error.code());
        }
        return "";
    }
    std::string start(bool sound = false) {
        platform::Display display;
        display.frame = {0, 0, 64, 48};
        return finish(
            recorder.start({platform::DisplayContentFilter{display, {}}, 64, 48}, "screen.mov", sound));
    }
    platform::FakeStream& stream() { return *screenCapture->streams.back(); }
    platform::WriterRecord& record() { return *media->writers.back(); }

    ScreenRecorder recorder{screenCapture, media, time};
};

TEST_F(ScreenRecorderTest, AWindowsMovieHasEvenSides) {
    struct Case {
        double w, h, scale;
        int width, height;
    };
    for (const Case& c :
         {Case{801.5, 600.5, 2, 1604, 1202}, {800, 600, 2, 1600, 1200}, {641, 481, 1, 642, 482}}) {
        platform::Window window;
        window.frame = {0, 0, c.w, c.h};
        const auto target = ScreenRecorder::windowTarget(window, c.scale);
        EXPECT_EQ((std::pair{target.width, target.height}), (std::pair{c.width, c.height}));
    }
}

TEST_F(ScreenRecorderTest, WritesCompleteFramesFromTheFirstOneOn) {
    ASSERT_EQ(start(true), "");
    EXPECT_EQ(stream().configuration.queueDepth, 8);
    EXPECT_TRUE(stream().configuration.capturesAudio && stream().configuration.excludesCurrentProcessAudio);
    EXPECT_EQ(record().type, platform::FileType::quickTimeMovie);
    EXPECT_EQ(record().videoSettings->averageBitRate, 20'000'000);
    EXPECT_TRUE(record().videoSettings->expectsMediaDataInRealTime);

    EXPECT_TRUE(stream().deliverAudio(9.9)) << "sound before the first picture is dropped";
    EXPECT_TRUE(stream().deliverFrame(9.95, FrameStatus::idle));
    EXPECT_TRUE(stream().deliverFrame(9.96, std::nullopt));
    EXPECT_FALSE(recorder.firstPTS());
    EXPECT_TRUE(stream().deliverFrame(10.0));
    EXPECT_TRUE(stream().deliverAudio(10.01));
    EXPECT_TRUE(stream().deliverFrame(10.5));
    EXPECT_TRUE(stream().deliverFrame(10.6, FrameStatus::suspended));
    EXPECT_EQ(finish(recorder.stop()), "");

    EXPECT_DOUBLE_EQ(*recorder.firstPTS(), 10.0);
    EXPECT_DOUBLE_EQ(record().sessionStart->seconds(), 10.0);
    EXPECT_EQ(record().video.size(), 2U);
    ASSERT_EQ(record().audio.size(), 1U);
    EXPECT_NEAR(record().audio[0].presentationTime.seconds(), 10.01, 1e-9);
    EXPECT_TRUE(record().videoFinished && record().audioFinished && record().finished);

    ASSERT_EQ(start(), "");
    EXPECT_FALSE(recorder.firstPTS()) << "a second recording begins without a first time";
    EXPECT_FALSE(record().audioSettings);
    EXPECT_FALSE(stream().hasOutput(platform::StreamOutputType::audio));
    finish(recorder.stop());
}

TEST_F(ScreenRecorderTest, FramesAreDroppedNotQueuedWhenTheEncoderIsBehind) {
    media->writing.videoNotReadyAsks = 2;
    ASSERT_EQ(start(), "");
    for (int i = 0; i < 5; ++i) stream().deliverFrame(10 + i / 60.0);
    platform::CapturedSample late;
    late.buffer.image = std::make_shared<platform::PixelBuffer>(
        platform::PixelFormat::bgra, stream().configuration.width, stream().configuration.height);
    late.buffer.presentationTime = platform::MediaTime::fromSeconds(11, platform::nanosecondTimescale);
    late.status = platform::FrameStatus::complete;
    late.droppedBefore = 7;
    stream().deliver(platform::StreamOutputType::screen, late);
    finish(recorder.stop());
    EXPECT_EQ(record().video.size(), 4U);
    const auto frames = recorder.statistics();
    EXPECT_EQ(frames.offered, 13U);
    EXPECT_EQ(frames.written, 4U);
    EXPECT_EQ(frames.dropped, 9U) << "those that the stream had no memory for, too";
    EXPECT_DOUBLE_EQ(*recorder.firstPTS(), 10.0);
}

TEST_F(ScreenRecorderTest, EveryFailureToStartIsThrownAndTheRecorderStaysUsable) {
    const PlatformError denied("host", 5, "denied");
    media->writing.creationError = denied;
    EXPECT_EQ(start(), "host 5");
    media->writing = {};
    media->writing.starts = false;
    EXPECT_EQ(start(), "Cobaltreel 1") << "the writer gave no reason";
    media->writing.error = denied;
    EXPECT_EQ(start(), "host 5");
    media->writing = {};
    screenCapture->makeStreamError = denied;
    EXPECT_EQ(start(), "host 5");
    screenCapture->makeStreamError.reset();
    screenCapture->startError = denied;
    EXPECT_EQ(start(), "host 5");
    EXPECT_EQ(finish(recorder.stop()), "") << "releases what a failed start left";
    screenCapture->startError.reset();
    EXPECT_EQ(start(), "");
    stream().deliverFrame(1);
    screenCapture->stopError = denied;
    finish(recorder.stop());
    EXPECT_TRUE(record().finished) << "a stream that will not stop does not cost the movie";
}

TEST_F(ScreenRecorderTest, AWriterThatFailedIsNotFinishedAndSaysWhy) {
    media->writing.failsAfter = 1;
    media->writing.error = PlatformError("disk", 28, "screen.mov: no space left");
    ASSERT_EQ(start(), "");
    EXPECT_FALSE(recorder.writingError());
    stream().deliverFrame(1);
    stream().deliverFrame(2);
    EXPECT_EQ(recorder.writingError()->code(), 28);
    finish(recorder.stop());
    EXPECT_FALSE(record().finished);
    EXPECT_EQ(recorder.writingError()->code(), 28) << "still known after the stop";
}

}  // namespace
}  // namespace cobaltreel

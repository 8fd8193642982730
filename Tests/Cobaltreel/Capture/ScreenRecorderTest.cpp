#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Fakes/FakeHost.hpp"
#include "Platform/Capture/SystemAudioCapture.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::FrameStatus;
using platform::PlatformError;

class ScreenRecorderTest : public testing::Test, public FakeHost {
  protected:
    ScreenRecorderTest() { media->writing.createsFile = false; }
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
    EXPECT_FALSE(stream().deliverAudio(11)) << "and without sound, when none is asked for";
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

TEST_F(ScreenRecorderTest, AMovieThatCannotBeStartedAndAStreamThatCannotBeStoppedCostNoTake) {
    media->writing.starts = false;
    EXPECT_EQ(start(), "Cobaltreel 1") << "the writer gave no reason";
    media->writing.error = PlatformError("host", 5, "denied");
    EXPECT_EQ(start(), "host 5");
    media->writing = {};
    screenCapture->stopError = PlatformError("host", 5, "denied");
    EXPECT_EQ(start(), "");
    stream().deliverFrame(1);
    finish(recorder.stop());
    EXPECT_TRUE(record().finished);
}

TEST_F(ScreenRecorderTest, TheComputersSoundComesFromASourceOfItsOwn) {
    struct Source final : platform::SystemAudioSource {
        explicit Source(SampleHandler& to) : handler(to) {}
        void start(platform::SerialQueue&, SampleHandler to) override { handler = std::move(to); }
        void stop() override { handler = nullptr; }
        SampleHandler& handler;
    };
    Source::SampleHandler play;
    const auto both = std::make_shared<platform::SystemAudioCapture>(
        screenCapture, [&] { return std::make_unique<Source>(play); });
    ScreenRecorder withSound(both, media, time);
    await(withSound.start({platform::DisplayContentFilter{}, 64, 48}, "screen.mov", true));
    EXPECT_FALSE(stream().configuration.capturesAudio);
    EXPECT_TRUE(stream().deliverFrame(10));
    ASSERT_TRUE(play);
    const auto sound = std::make_shared<platform::AudioBuffer>();
    sound->bytes.resize(480 * sound->format.bytesPerFrame());
    play({platform::MediaTime::fromSeconds(10.5), nullptr, sound});
    await(withSound.stop());
    EXPECT_FALSE(play);
    ASSERT_EQ(record().audio.size(), 1U);
    EXPECT_EQ(record().audio[0].presentationTime.seconds(), 10.5);
}

}  // namespace
}  // namespace cobaltreel

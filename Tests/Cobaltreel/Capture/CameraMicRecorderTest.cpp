#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Fakes/FakeHost.hpp"

#include <cstring>
#include <future>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

using platform::CaptureDevice;
using platform::CaptureEvent;
using platform::MediaType;
using platform::PlatformError;
using ::testing::ElementsAre;
using ::testing::SizeIs;

const CaptureDevice otherCamera{"cam2", "Other camera", MediaType::video};

class CameraMicRecorderTest : public testing::Test, public FakeHost {
  protected:
    CameraMicRecorderTest() {
        media->writing.createsFile = false;
        makeRecorder();
    }

    void makeRecorder() {
        recorder = std::make_unique<CameraMicRecorder>(capture, media, time);
        recorder->onDeviceEvent = [this](const CaptureEvent& event) { events.push_back(event); };
    }
    platform::FakeSession& session() { return *capture->sessions.back(); }
    platform::WriterRecord& movie() { return *media->writers.back(); }

    void preview(std::optional<CaptureDevice> withCamera, bool mirror = true) {
        const auto before = session().commits().size();
        recorder->startPreview(std::move(withCamera), mic, mirror);
        ASSERT_TRUE(eventually([&] { return session().commits().size() > before && session().isRunning(); }));
    }
    std::vector<CaptureEvent::Kind> eventKinds() {
        time->drain();
        std::vector<CaptureEvent::Kind> kinds;
        for (const auto& event : events) kinds.push_back(event.kind);
        return kinds;
    }

    std::vector<CaptureEvent> events;
    std::unique_ptr<CameraMicRecorder> recorder;
};

TEST_F(CameraMicRecorderTest, RapidRequestsCollapseToTheLast) {
    std::promise<void> underWay, release;
    session().onCommit = [&, first = true]() mutable {
        if (!std::exchange(first, false)) return;
        underWay.set_value();
        release.get_future().wait();
    };
    recorder->startPreview(camera, mic, true);
    underWay.get_future().wait();
    for (int i = 0; i < 50; ++i) recorder->startPreview(camera, mic, i % 2 != 0);
    recorder->startPreview(otherCamera, mic, false);
    release.set_value();
    await(recorder->beginWriting("camera.mov"));
    const auto commits = session().commits();
    ASSERT_THAT(commits, SizeIs(2));
    EXPECT_THAT(commits[1].inputs, ElementsAre(mic, otherCamera));
    EXPECT_FALSE(commits[1].mirrored);
}

TEST_F(CameraMicRecorderTest, LeavesOutADeviceThatCannotBeUsedAndSaysSo) {
    capture->inputErrors.emplace("cam", PlatformError("test", 1, "The camera is busy."));
    makeRecorder();
    preview(camera);
    EXPECT_THAT(session().commits().back().inputs, ElementsAre(mic));
    EXPECT_TRUE(recorder->wantCamera());
    EXPECT_THAT(eventKinds(), ElementsAre(CaptureEvent::Kind::failed));
    EXPECT_EQ(events[0].message, "The camera is busy.");

    // The movie has its camera track all the same, and is a whole movie with sound alone.
    await(recorder->beginWriting("camera.mov"));
    EXPECT_TRUE(session().deliverSound(1000.0, 0.5F));
    await(recorder->stop());
    EXPECT_TRUE(movie().videoSettings);
    EXPECT_TRUE(movie().finished);
    EXPECT_THAT(movie().audio, SizeIs(1));
}

TEST_F(CameraMicRecorderTest, WritesWhatArrivesBetweenBeginAndFinish) {
    preview(camera);
    EXPECT_TRUE(session().deliverSound(999.9));
    EXPECT_FALSE(recorder->firstPTS());
    await(recorder->beginWriting("camera.mov"));
    EXPECT_TRUE(session().deliverSound(1000.25, 0.1F));
    EXPECT_TRUE(session().deliverPicture(1000.5));
    EXPECT_TRUE(session().deliverSound(1003.0, 0.1F));
    await(recorder->finishWriting());
    EXPECT_TRUE(movie().finished && movie().videoFinished && movie().audioFinished);
    EXPECT_EQ(recorder->firstPTS(), 1000.25);
    ASSERT_TRUE(movie().sessionStart);
    EXPECT_EQ(movie().sessionStart->seconds(), 1000.25);
    EXPECT_THAT(movie().video, SizeIs(1));
    EXPECT_THAT(movie().audio, SizeIs(2));
    EXPECT_EQ(movie().audio[1].presentationTime.seconds(), 1003.0);

    // The preview goes on, nothing more is written.
    EXPECT_TRUE(session().deliverPicture(1004));
    EXPECT_THAT(movie().video, SizeIs(1));
    EXPECT_EQ(recorder->firstPTS(), 1000.25);
    await(recorder->stop());
    EXPECT_FALSE(session().isRunning());
    EXPECT_THAT(session().commits().back().inputs, SizeIs(0));

    // The next recording starts anew.
    preview(std::nullopt);
    await(recorder->beginWriting("second.mov"));
    EXPECT_FALSE(recorder->firstPTS());
    EXPECT_FALSE(movie().videoSettings);
    await(recorder->stop());
    EXPECT_FALSE(recorder->firstPTS());
}

TEST_F(CameraMicRecorderTest, DropsWhatTheEncoderHasNoRoomFor) {
    media->writing.videoNotReadyAsks = 1;
    preview(camera);
    await(recorder->beginWriting("camera.mov"));
    session().deliverPicture(1000.0);
    session().deliverPicture(1000.1);
    await(recorder->stop());
    EXPECT_EQ(recorder->firstPTS(), 1000.0);
    EXPECT_THAT(movie().video, SizeIs(1));
    EXPECT_EQ(recorder->statistics().picturesDropped, 1U);
    EXPECT_EQ(recorder->statistics().picturesWritten, 1U);
}

TEST_F(CameraMicRecorderTest, StopsInEveryOrder) {
    await(recorder->stop());
    EXPECT_FALSE(session().isRunning());
    await(recorder->finishWriting());

    // Stop while the movie is being opened, and while it is being finished.
    preview(camera);
    auto opening = recorder->beginWriting("camera.mov");
    await(recorder->stop());
    EXPECT_TRUE(movie().finished);
    EXPECT_FALSE(session().isRunning());
    await(std::move(opening));

    preview(camera);
    await(recorder->beginWriting("camera.mov"));
    session().deliverPicture(1000.0);
    auto finishing = recorder->finishWriting();
    await(recorder->stop());
    EXPECT_TRUE(movie().finished);
    await(std::move(finishing));
    EXPECT_FALSE(session().isRunning());
}

template <typename Sample>
platform::SampleBuffer soundOf(const std::vector<Sample>& samples, int channels) {
    auto audio = std::make_shared<platform::AudioBuffer>();
    audio->format = {48000, channels, std::is_floating_point_v<Sample>};
    audio->bytes.resize(samples.size() * sizeof(Sample));
    std::memcpy(audio->bytes.data(), samples.data(), audio->bytes.size());
    return {{}, nullptr, audio};
}

TEST(PeakLevelTest, IsTheRootOfTheLargestSampleOfAnyChannel) {
    const auto level = CameraMicRecorder::peakLevel;
    EXPECT_EQ(level({}), 0);
    EXPECT_EQ(level(soundOf<std::int16_t>({0, 0, 0, 0}, 2)), 0);
    EXPECT_EQ(level(soundOf<std::int16_t>({0, -32768}, 1)), 1);
    EXPECT_NEAR(level(soundOf<std::int16_t>({0, 327, -327}, 1)), 0.22, 0.001);
    EXPECT_NEAR(level(soundOf<float>({0.01F, -0.04F, 0.02F, 0}, 2)), 0.44, 1e-6);
    EXPECT_EQ(level(soundOf<float>({3.5F}, 1)), 1);
}

TEST_F(CameraMicRecorderTest, WarnsOnceOfAMicrophoneThatStaysSilent) {
    const auto recordSound = [&](float level, double from) {
        for (int i = 0; i < 100; ++i) session().deliverSound(from + i * 0.1, i < 25 ? 0.0002F : level);
    };
    preview(std::nullopt);
    recordSound(0.0002F, 1000);
    EXPECT_THAT(eventKinds(), SizeIs(0)) << "nothing is recorded yet";
    await(recorder->beginWriting("a.mov"));
    recordSound(0.0002F, 1020);
    EXPECT_THAT(eventKinds(), ElementsAre(CaptureEvent::Kind::silent));
    await(recorder->finishWriting());
    await(recorder->beginWriting("b.mov"));
    recordSound(0.05F, 1040);
    EXPECT_THAT(eventKinds(), SizeIs(1)) << "it was heard in time";
    await(recorder->stop());
}

TEST_F(CameraMicRecorderTest, SaysWhichDeviceSendsNothing) {
    preview(camera);
    for (int second = 0; second < 10; ++second) {
        session().deliverSound(1000.0 + second, 0.5F);
        time->advance(1.0);
    }
    ASSERT_THAT(eventKinds(), ElementsAre(CaptureEvent::Kind::stalled));
    EXPECT_EQ(events[0].device, camera);

    // A device that is known to be gone is not reported twice.
    session().notify({CaptureEvent::Kind::lost, mic, "gone"});
    time->advance(10.0);
    EXPECT_THAT(eventKinds(), ElementsAre(CaptureEvent::Kind::stalled, CaptureEvent::Kind::lost));
    session().notify({CaptureEvent::Kind::returned, mic, "back"});
    time->drain();
    time->advance(10.0);
    EXPECT_THAT(eventKinds(), SizeIs(4));
    EXPECT_EQ(events[3].kind, CaptureEvent::Kind::stalled);
    EXPECT_EQ(events[3].device, mic);

    // Once it sends again the next failure is another one.
    session().deliverPicture(1040);
    time->advance(10.0);
    ASSERT_THAT(eventKinds(), SizeIs(6));
    EXPECT_EQ(events[4].kind, CaptureEvent::Kind::returned);
    EXPECT_EQ(events[5].kind, CaptureEvent::Kind::stalled);
    EXPECT_EQ(events[5].device, camera);
    await(recorder->stop());
    time->advance(10.0);
    EXPECT_THAT(eventKinds(), SizeIs(6));
}

}  // namespace
}  // namespace cobaltreel

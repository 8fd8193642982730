// Movies written while devices come and go, by the real recorders against the rig's media server, read back.
// Every device flashes or beeps at each half second of the host clock, so that any time can be checked.
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Fakes/Await.hpp"
#include "Fakes/FakeScreenCapture.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Platform/Capture/PipeWire/MediaHarness.hpp"
#include "Platform/Capture/SystemAudioCapture.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Rig/BeepFinder.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <functional>

namespace cobaltreel {
namespace {

using platform::CaptureEvent;
using platform::MediaType;
using platform::TimeRange;
using rig::startDevice;
using ::testing::SizeIs;

constexpr double betweenInstants = 0.5;  // seconds
/// How far a sighting may be from its instant: a picture of the camera, and then some.
constexpr double tolerance = 0.08;

/// When a device was missing from a take, in seconds of the host clock. A gap that a movie closed would show
/// what came after it in here.
struct Loss {
    double unplugged = 0;  ///< until here all was well
    double lost = 0;       ///< told
    double pluggedIn = 0;  ///< again
    double returned = 0;   ///< told
};

double distanceToInstant(double time) {
    return std::abs(time - std::round(time / betweenInstants) * betweenInstants);
}

class DeviceLossTest : public rig::MediaTest {
  protected:
    DeviceLossTest() {
        recorder.onDeviceEvent = [this](const CaptureEvent& event) { events.push_back(event); };
    }

    static std::vector<std::string> eachInstant(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--every", std::to_string(betweenInstants)});
        return arguments;
    }
    std::unique_ptr<rig::ChildProcess> plugInCamera() { return startDevice("RigCamera", eachInstant({})); }
    std::unique_ptr<rig::ChildProcess> plugInMicrophone() {
        return startDevice("RigTone", eachInstant({"--microphone"}));
    }
    /// The rig's microphone has no clock of its own, as hardware has: beside a camera it runs by that of a
    /// speaker in use.
    std::unique_ptr<rig::ChildProcess> startPlaying() {
        return startDevice("RigTone", eachInstant({"--speaker", "--channels", "2"}));
    }

    /// Lets the main thread's work and the screen go on until something is so.
    template <typename Condition>
    bool eventually(Condition condition) {
        double shown = 0;
        return platform::eventually(condition, [&] {
            mainLoop->drain();
            if (screenCapture->streams.empty() || now() - shown < 0.05) return;
            shown = now();
            screenCapture->streams.back()->deliverFrame(shown);
        });
    }
    void pass(double seconds) {
        eventually([this, until = now() + seconds] { return now() >= until; });
    }
    void await(QCoro::Task<void> task) {
        cobaltreel::await(std::move(task), [this](auto condition) { return eventually(condition); });
    }
    bool isTold(CaptureEvent::Kind kind) {
        return eventually([&] { return std::ranges::count(events, kind, &CaptureEvent::kind) >= 2; });
    }
    void beginTake() {
        ASSERT_TRUE(isListed("rig.camera"));
        ASSERT_TRUE(isListed("rig.microphone"));
        recorder.startPreview(camera(), microphone(), false);
        await(recorder.beginWriting(folder / "camera.mov"));
        const auto both = [&] {
            const auto written = recorder.statistics();
            return written.picturesWritten > 5 && written.soundsWritten > 5;
        };
        ASSERT_TRUE(eventually(both));
        pass(2.5);
    }

    /// Host-clock times of the pictures, and of those with which a flash begins.
    struct Pictures {
        std::vector<double> times, flashes;
    };
    Pictures pictures() {
        Pictures found;
        const auto asset = media->asset(folder / "camera.mov");
        const auto tracks = asset->loadTracks(MediaType::video);
        if (tracks.empty()) return found;
        const auto reader = media->makeTrackReader(asset, tracks[0], {0, 3600}, platform::PixelFormat::i420);
        EXPECT_TRUE(reader->startReading());
        bool wasFlashing = true;
        while (const auto sample = reader->copyNextSampleBuffer()) {
            const double time = *recorder.firstPTS() + sample->presentationTime.seconds();
            const auto reading = rig::readPicture(*sample->image);
            EXPECT_TRUE(reading) << "a picture that is not the camera's, at " << time;
            if (!reading) continue;
            const bool follows = !found.times.empty() && time - found.times.back() < 0.1;
            if (reading->flash && !wasFlashing && follows) found.flashes.push_back(time);
            wasFlashing = reading->flash;
            found.times.push_back(time);
        }
        EXPECT_EQ(reader->status(), platform::AssetReader::Status::completed);
        return found;
    }
    /// Host-clock times of the beeps of a movie whose first sample is of `firstPTS`.
    std::vector<double> beeps(const char* movie, double firstPTS) {
        const auto asset = media->asset(folder / movie);
        const auto tracks = asset->loadTracks(MediaType::audio);
        if (tracks.empty()) return {};
        platform::Composition composition;
        composition.addMutableTrack(MediaType::audio)
            .insertTimeRange({0, tracks[0].timeRange.end}, asset, tracks[0], 0);
        const auto reader = media->makeAudioMixReader(composition);
        EXPECT_TRUE(reader->startReading());
        rig::BeepFinder finder(0.15F);
        while (const auto sample = reader->copyNextSampleBuffer()) finder.add(*sample);
        EXPECT_EQ(reader->status(), platform::AssetReader::Status::completed);
        std::vector<double> times;
        for (const double start : finder.starts()) times.push_back(firstPTS + start);
        return times;
    }

    /// Before the loss and after it most sightings are at an instant, and there are some: a busy machine
    /// spoils many an instant, a wrong time all of them.
    static void expectInstants(const std::vector<double>& seen, TimeRange take, const Loss& loss) {
        const auto expectMost = [&](double start, double end) {
            SCOPED_TRACE(testing::Message() << "from " << start << " to " << end);
            const auto isSighted = [&](double instant) {
                return std::ranges::any_of(seen,
                                           [&](double time) { return std::abs(time - instant) < tolerance; });
            };
            int instants = 0, sighted = 0, sightings = 0, atInstants = 0;
            for (double instant = std::ceil((start + 0.3) / betweenInstants) * betweenInstants;
                 instant < end - 0.3; instant += betweenInstants, ++instants)
                sighted += isSighted(instant) ? 1 : 0;
            for (const double time : seen) {
                if (time < start || time > end) continue;
                ++sightings;
                atInstants += distanceToInstant(time) < tolerance ? 1 : 0;
            }
            EXPECT_GE(instants, 2);
            EXPECT_GE(sighted, 1) << testing::PrintToString(seen);
            EXPECT_GT(2 * atInstants, sightings) << testing::PrintToString(seen);
        };
        expectMost(take.start, loss.unplugged);
        expectMost(loss.returned, take.end);
        expectNothingDuring(loss, seen);
    }
    static void expectNothingDuring(const Loss& loss, const std::vector<double>& times) {
        for (const double time : times)
            EXPECT_FALSE(time > loss.lost && time < loss.pluggedIn - 0.05)
                << "missing, yet there at " << time;
    }
    /// Takes camera and microphone away, waits until that is told, and brings them back.
    Loss lose(const std::function<void()>& unplug, const std::function<void()>& plugIn) {
        Loss loss{now(), 0, 0, 0};
        unplug();
        EXPECT_TRUE(isTold(CaptureEvent::Kind::lost));
        loss.lost = now();
        pass(1.2);
        loss.pluggedIn = now();
        plugIn();
        EXPECT_TRUE(isTold(CaptureEvent::Kind::returned));
        loss.returned = now();
        pass(2.5);
        return loss;
    }

    std::shared_ptr<platform::CaptureService> devices{std::shared_ptr<void>(), &service};
    std::shared_ptr<platform::MediaService> media = platform::makeFFmpegMediaService();
    std::shared_ptr<platform::VirtualTime> mainLoop = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeScreenCapture> screenCapture =
        std::make_shared<platform::FakeScreenCapture>();
    const rig::TemporaryFolder folder;
    std::vector<CaptureEvent> events;
    CameraMicRecorder recorder{devices, media, mainLoop};
};

TEST_F(DeviceLossTest, AMediaServerRestartedLeavesAGapInAllThatItServes) {
    auto cameraDevice = plugInCamera();
    auto microphoneDevice = plugInMicrophone();
    auto player = startPlaying();
    const auto screenAndSound = std::make_shared<platform::SystemAudioCapture>(
        screenCapture, [this] { return service.makeSystemAudio(); });
    ScreenRecorder screen(screenAndSound, media, mainLoop);
    await(screen.start({platform::DisplayContentFilter{}, 320, 240}, folder / "screen.mov", true));
    beginTake();

    platform::SerialQueue lateQueue("test.late");
    const auto lateSource = service.makeSystemAudio();
    std::atomic<int> lateSounds = 0;

    const auto restartServer = [&] {
        kill(std::atoi(std::getenv("COBALTREEL_RIG_MEDIA")), SIGUSR1);
        EXPECT_TRUE(isTold(CaptureEvent::Kind::lost));
        lateSource->start(lateQueue, [&](const platform::SampleBuffer&) { ++lateSounds; });
        cameraDevice.reset();
        microphoneDevice.reset();
        player.reset();
        EXPECT_TRUE(eventually([&] { return !service.unavailable(); }));
    };
    const auto plugInAll = [&] {
        player = startPlaying();
        cameraDevice = plugInCamera();
        microphoneDevice = plugInMicrophone();
    };
    const Loss loss = lose(restartServer, plugInAll);
    const double end = now();
    await(screen.stop());
    await(recorder.stop());
    lateSource->stop();

    EXPECT_FALSE(recorder.writingError() || screen.writingError());
    EXPECT_GT(lateSounds, 0) << "asked for while the server was away";
    EXPECT_THAT(events, SizeIs(4));
    const auto seen = pictures();
    expectNothingDuring(loss, seen.times);
    expectInstants(seen.flashes, {*recorder.firstPTS(), end}, loss);
    expectInstants(beeps("camera.mov", *recorder.firstPTS()), {*recorder.firstPTS(), end}, loss);
    expectInstants(beeps("screen.mov", *screen.firstPTS()), {*screen.firstPTS() + 0.5, end}, loss);
}

}  // namespace
}  // namespace cobaltreel
